#include "platform/dnssd/SystemBusSocket.h"

#include <cstdlib>
#include <string_view>

namespace korvane {

std::filesystem::path systemBusSocket()
{
    const char* variable = std::getenv("DBUS_SYSTEM_BUS_ADDRESS"); // NOLINT(concurrency-mt-unsafe)
    std::string_view address =
        variable != nullptr ? variable : "unix:path=/run/dbus/system_bus_socket";
    constexpr std::string_view prefix = "unix:path=";
    if (!address.starts_with(prefix)) return {};
    address.remove_prefix(prefix.size());
    return address.substr(0, address.find_first_of(",;"));
}

} // namespace korvane
