#include "platform/bus/BusAddress.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdlib>

namespace korvane {

namespace {

std::string_view environment(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : "";
}

/** Takes the text up to the separator off the front. */
std::string_view next(std::string_view& text, char separator)
{
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return part;
}

bool standsForItself(char byte)
{
    constexpr std::string_view others = "-_/.\\*";
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || others.find(byte) != std::string_view::npos;
}

std::string escaped(std::string_view value)
{
    std::string text;
    for (const char byte : value) {
        if (standsForItself(byte)) {
            text += byte;
        } else {
            text += fmt::format("%{:02x}", static_cast<unsigned char>(byte));
        }
    }
    return text;
}

std::string unescaped(std::string_view value)
{
    std::string text;
    while (!value.empty()) {
        unsigned code = 0;
        if (value.size() >= 3 && value[0] == '%' &&
            std::from_chars(&value[1], &value[1] + 2, code, 16).ptr == &value[1] + 2) {
            text += static_cast<char>(code);
            value.remove_prefix(3);
        } else {
            text += value.front();
            value.remove_prefix(1);
        }
    }
    return text;
}

} // namespace

std::string sessionBusAddress()
{
    return makeSessionBusAddress(environment("DBUS_SESSION_BUS_ADDRESS"),
                                 environment("XDG_RUNTIME_DIR"));
}

std::string makeSessionBusAddress(std::string_view address, std::string_view runtimeFolder)
{
    if (!address.empty()) return std::string(address);
    if (!runtimeFolder.starts_with('/')) return {};
    return fmt::format("unix:path={}/bus", escaped(runtimeFolder));
}

std::vector<std::string> busAddresses(std::string_view list)
{
    std::vector<std::string> addresses;
    while (!list.empty()) {
        if (const auto address = next(list, ';'); !address.empty()) addresses.emplace_back(address);
    }
    return addresses;
}

std::filesystem::path busSocket(std::string_view list)
{
    constexpr std::string_view transport = "unix:";
    constexpr std::string_view key = "path=";
    for (const std::string& address : busAddresses(list)) {
        std::string_view pairs = address;
        if (!pairs.starts_with(transport)) continue;
        pairs.remove_prefix(transport.size());
        while (!pairs.empty()) {
            const std::string_view pair = next(pairs, ',');
            if (pair.starts_with(key)) return unescaped(pair.substr(key.size()));
        }
    }
    return {};
}

} // namespace korvane
