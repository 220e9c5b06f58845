#include "platform/dnssd/AvahiService.h"

#include "platform/dnssd/TXTRecordBytes.h"
#include "platform/text/Text.h"

namespace korvane {

namespace {

constexpr std::size_t longestName = 63;

std::shared_ptr<AvahiStringList> txtOf(const Registration& registration)
{
    const auto bytes = txtRecordBytes(registration.txt);
    AvahiStringList* strings = nullptr;
    avahi_string_list_parse(bytes.data(), bytes.size(), &strings);
    return {strings, avahi_string_list_free};
}

} // namespace

AvahiService avahiService(const Registration& registration)
{
    return {.name = std::string(text::prefixFitting(registration.name, longestName)),
            .type = parseServiceType(registration.type),
            .port = registration.port,
            .txt = txtOf(registration),
            .interface = registration.interfaceIndex == 0
                             ? AVAHI_IF_UNSPEC
                             : static_cast<AvahiIfIndex>(registration.interfaceIndex)};
}

} // namespace korvane
