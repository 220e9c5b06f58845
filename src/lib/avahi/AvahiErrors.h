#pragma once

#include <string_view>

namespace korvane {

/** Avahi's number for an error of its daemon, by the D-Bus name that the daemon gives it. */
int avahiError(std::string_view name);

} // namespace korvane
