#include "platform/system/TimeText.h"

#include <fmt/format.h>

#include <ctime>
#include <string_view>

namespace korvane {

namespace {

std::time_t wholeSeconds(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

std::string date(const std::tm& parts)
{
    return fmt::format("{:04}-{:02}-{:02}", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
}

std::string timeOfDay(const std::tm& parts, std::string_view separator)
{
    return fmt::format("{:02}{}{:02}{}{:02}", parts.tm_hour, separator, parts.tm_min, separator,
                       parts.tm_sec);
}

} // namespace

std::string localTimestamp(std::chrono::system_clock::time_point time)
{
    ::tzset(); // localtime_r alone keeps the zone of its first call when the user travels
    const std::time_t seconds = wholeSeconds(time);
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    return date(parts) + ' ' + timeOfDay(parts, "");
}

std::string utcTimestamp(std::chrono::system_clock::time_point time)
{
    const std::time_t seconds = wholeSeconds(time);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    return date(parts) + 'T' + timeOfDay(parts, ":");
}

} // namespace korvane
