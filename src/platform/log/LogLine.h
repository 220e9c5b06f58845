#pragma once

#include <string>
#include <string_view>

namespace korvane {

/**
 * The line as it may be shown. Names in a line come from clients and documents, so every byte that
 * could end the line or steer a terminal is written as \xHH: control characters (C0, DEL and C1),
 * the line and paragraph separators U+2028 and U+2029, and bytes that are not well-formed UTF-8.
 */
std::string escapedLogLine(std::string_view line);

} // namespace korvane
