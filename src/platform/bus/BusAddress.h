#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** The address of the user's session bus, from the environment variables that D-Bus and the XDG
 *  Base Directory rules define for it; empty when there is none. */
std::string sessionBusAddress();

/** The address for these values of DBUS_SESSION_BUS_ADDRESS and XDG_RUNTIME_DIR. */
std::string makeSessionBusAddress(std::string_view address, std::string_view runtimeFolder);

/** A list of addresses taken apart; they are to be tried in this order. */
std::vector<std::string> busAddresses(std::string_view list);

/** The socket file of the first address that has one; empty when none has. */
std::filesystem::path busSocket(std::string_view list);

} // namespace korvane
