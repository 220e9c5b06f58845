#include "ipp/PrinterUpTime.h"

#include <algorithm>
#include <limits>

namespace korvane::ipp {

std::chrono::system_clock::time_point uptimeBase()
{
    static const auto base = std::chrono::system_clock::now();
    return base;
}

std::int32_t printerUpTime(std::chrono::system_clock::time_point base,
                           std::chrono::system_clock::time_point now)
{
    constexpr double longest = std::numeric_limits<std::int32_t>::max();
    const std::chrono::duration<double> elapsed = now - base;
    return static_cast<std::int32_t>(std::clamp(elapsed.count(), 1.0, longest));
}

std::int32_t printerUpTime()
{
    const auto base = uptimeBase();
    return printerUpTime(base, std::chrono::system_clock::now());
}

} // namespace korvane::ipp
