#pragma once

#include <chrono>
#include <cstdint>

namespace korvane::ipp {

/** When the process first needed the up-time: taken once, kept from then on. Any thread. */
std::chrono::system_clock::time_point uptimeBase();

/** The whole seconds from `base` to `now`, at least 1, as printer-up-time counts them (RFC 8011
 *  section 5.4.29). */
std::int32_t printerUpTime(std::chrono::system_clock::time_point base,
                           std::chrono::system_clock::time_point now);

/** The printer-up-time of this process at this moment. */
std::int32_t printerUpTime();

} // namespace korvane::ipp
