#include "base/TimeText.h"

#include <fmt/chrono.h>

#include <cstdlib>
#include <ctime>

namespace korvane {

namespace {

std::time_t wholeSeconds(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

} // namespace

std::string localTimestamp(std::chrono::system_clock::time_point time)
{
    ::tzset(); // localtime_r alone keeps the zone of its first call when the user travels
    return fmt::format("{:%Y-%m-%d %H%M%S}", fmt::localtime(wholeSeconds(time)));
}

std::string pdfTimestamp(std::chrono::system_clock::time_point time)
{
    ::tzset();
    const std::tm local = fmt::localtime(wholeSeconds(time));
    const long minutes = std::abs(local.tm_gmtoff) / 60;
    return fmt::format("D:{:%Y%m%d%H%M%S}{}{:02}'{:02}", local, local.tm_gmtoff < 0 ? '-' : '+',
                       minutes / 60, minutes % 60);
}

std::string utcTimestamp(std::chrono::system_clock::time_point time)
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}", fmt::gmtime(wholeSeconds(time)));
}

} // namespace korvane
