#include "lib/avahi/AvahiService.h"

#include "text/CodePoints.h"
#include "text/Text.h"

#include <cstdint>
#include <string_view>

namespace korvane {

namespace {

constexpr std::size_t maxNameLength = 63;
constexpr std::size_t maxPairLength = 255;

/** Well-formed UTF-8 without control characters, which no list of printers can show (RFC 6763,
 *  section 4.1.1), cut between characters, or within the first one where that alone is too long. */
std::string instanceName(std::string_view name)
{
    std::u32string points = text::codePoints(name);
    std::erase_if(points, text::isControl);
    const std::string shown = text::encodeUTF8(points);
    const std::string_view whole = text::prefixFitting(shown, maxNameLength);
    return std::string(whole.empty() ? text::prefixOfSequences(shown, maxNameLength) : whole);
}

std::shared_ptr<AvahiStringList> txtOf(const Registration& registration)
{
    AvahiStringList* strings = nullptr;
    for (const auto& [key, value] : registration.txt) {
        if (key.size() + 1 + value.size() > maxPairLength) continue;
        strings = avahi_string_list_add_pair_arbitrary(
            strings, key.c_str(), reinterpret_cast<const std::uint8_t*>(value.data()),
            value.size());
    }
    return {strings, avahi_string_list_free};
}

} // namespace

AvahiService avahiService(const Registration& registration)
{
    AvahiService service{.name = instanceName(registration.name),
                         .port = registration.port,
                         .txt = txtOf(registration),
                         .interface = registration.interfaceIndex == 0
                                          ? AVAHI_IF_UNSPEC
                                          : static_cast<AvahiIfIndex>(registration.interfaceIndex)};
    std::string_view types = registration.type;
    std::size_t end = types.find(',');
    service.type = types.substr(0, end);
    while (end != std::string_view::npos) {
        types.remove_prefix(end + 1);
        end = types.find(',');
        service.subtypes.push_back(std::string(types.substr(0, end)) + "._sub." + service.type);
    }
    return service;
}

} // namespace korvane
