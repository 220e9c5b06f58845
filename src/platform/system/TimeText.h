#pragma once

#include <chrono>
#include <string>

namespace korvane {

/** The user's local time as "2025-03-01 150509" (yyyy-MM-dd HHmmss), whatever the locale. */
std::string localTimestamp(std::chrono::system_clock::time_point time);

/** Coordinated universal time as "2025-03-01T14:05:09", whatever the locale. */
std::string utcTimestamp(std::chrono::system_clock::time_point time);

} // namespace korvane
