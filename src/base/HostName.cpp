#include "base/HostName.h"

#include <unistd.h>

#include <array>

namespace korvane {

std::optional<std::string> firstHostLabel(std::string_view name)
{
    constexpr std::string_view notSet = "(none)"; // what the kernel says before anyone named it
    const std::string_view label = name.substr(0, name.find('.'));
    if (label.empty() || label == notSet) return std::nullopt;
    return std::string(label);
}

std::optional<std::string> hostName()
{
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0) return std::nullopt;
    return firstHostLabel(name.data());
}

} // namespace korvane
