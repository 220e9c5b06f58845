#include "platform/network/DeviceType.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace korvane {

namespace {

/** The DEVTYPE of the device's class: "wlan", "wwan", "bluetooth"; empty for an Ethernet card. */
std::string declaredType(const std::filesystem::path& device)
{
    constexpr std::string_view key = "DEVTYPE=";
    std::ifstream file(device / "uevent");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) return line.substr(key.size());
    }
    return {};
}

bool hasEntry(const std::filesystem::path& device, const char* name)
{
    std::error_code ignored;
    return std::filesystem::exists(device / name, ignored);
}

} // namespace

InterfaceType deviceType(const std::string& name)
{
    const auto device = std::filesystem::path("/sys/class/net") / name;
    const std::string type = declaredType(device);
    if (type == "wlan" || hasEntry(device, "phy80211") || hasEntry(device, "wireless")) {
        return InterfaceType::wifi;
    }
    // Hardware has a device behind it; what a virtual machine's host makes for its guests has none.
    const bool isCard = (type.empty() || type == "dsa") && hasEntry(device, "device");
    return isCard ? InterfaceType::wiredEthernet : InterfaceType::other;
}

} // namespace korvane
