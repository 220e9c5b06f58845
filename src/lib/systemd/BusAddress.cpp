#include "lib/systemd/BusAddress.h"

#include "text/PercentEncoding.h"

#include <algorithm>
#include <cstdlib>

namespace korvane {

namespace {

/** The bytes of a value that need not be encoded. */
constexpr std::string_view plainInAddresses =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_/.\\*";

std::string_view environment(const char* name, std::string_view otherwise = "")
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr && *value != '\0' ? value : otherwise;
}

/** Takes the text up to the separator off the front. */
std::string_view next(std::string_view& text, char separator)
{
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return part;
}

} // namespace

std::string sessionBusAddress()
{
    const std::string_view runtimeFolder = environment("XDG_RUNTIME_DIR");
    const std::string_view address = environment("DBUS_SESSION_BUS_ADDRESS");
    if (!address.empty() || !runtimeFolder.starts_with('/')) return std::string(address);
    return "unix:path=" + text::percentEncoded(runtimeFolder, plainInAddresses) + "/bus";
}

std::filesystem::path busSocket(std::string_view addresses)
{
    while (!addresses.empty()) {
        std::string_view pairs = next(addresses, ';');
        if (next(pairs, ':') != "unix") continue;
        while (!pairs.empty()) {
            std::string_view value = next(pairs, ',');
            if (next(value, '=') == "path") return text::percentDecoded(value);
        }
    }
    return {};
}

std::string systemBusAddress()
{
    return std::string(
        environment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket"));
}

} // namespace korvane
