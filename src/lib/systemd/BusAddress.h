#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace korvane {

/** The addresses of the user's session bus (D-Bus Specification, "Server Addresses"), from the
 *  environment variables that D-Bus and the XDG Base Directory rules define for it; empty when
 * there is none. */
std::string sessionBusAddress();

/** The socket file of the first of the addresses that has one; empty when none has. */
std::filesystem::path busSocket(std::string_view addresses);

/** The addresses of the system bus, by the environment variable that D-Bus defines for it or the
 *  usual one. */
std::string systemBusAddress();

} // namespace korvane
