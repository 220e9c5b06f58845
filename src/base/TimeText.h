#pragma once

#include <chrono>
#include <string>

namespace korvane {

/** The user's local time as "2025-03-01 150509" (yyyy-MM-dd HHmmss), whatever the locale. */
std::string localTimestamp(std::chrono::system_clock::time_point time);

/** Coordinated universal time as "2025-03-01T14:05:09", whatever the locale. */
std::string utcTimestamp(std::chrono::system_clock::time_point time);

/** The user's local time as "D:20250301150509+01'00", a date of PDF (ISO 32000-1, 7.9.4). */
std::string pdfTimestamp(std::chrono::system_clock::time_point time);

} // namespace korvane
