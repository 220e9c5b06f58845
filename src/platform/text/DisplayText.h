#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane::text {

/**
 * A stranger's text as it may be shown to the user: at most `limit` user-perceived characters and
 * an ellipsis, and few bytes even where one character is a pile of marks. Controls become spaces,
 * bytes that are not UTF-8 the replacement character, and what would reorder the text around it
 * (embeddings, overrides and isolates, UAX #9) goes. Line ends stay.
 */
std::string displayText(std::string_view text, std::size_t limit);

/** The same on one line. */
std::string displayLine(std::string_view text, std::size_t limit);

} // namespace korvane::text
