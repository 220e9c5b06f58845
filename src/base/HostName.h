#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** The computer's name, by which `NAME.local.` finds it; nothing when it has none. */
std::optional<std::string> hostName();

/** The first label of a host name as the kernel gives it; nothing when it is empty or not set. */
std::optional<std::string> firstHostLabel(std::string_view name);

} // namespace korvane
