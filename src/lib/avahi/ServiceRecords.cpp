#include "lib/avahi/ServiceRecords.h"

#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace korvane {

namespace {

constexpr AvahiPublishFlags shared{};
constexpr AvahiPublishFlags unique = AVAHI_PUBLISH_UNIQUE;
constexpr auto uniqueWithoutProbe =
    static_cast<AvahiPublishFlags>(AVAHI_PUBLISH_UNIQUE | AVAHI_PUBLISH_NO_PROBE);

/** As RFC 6762, section 10, has them: two minutes for what names a host, else 75 minutes. */
constexpr std::uint32_t hostTimeToLive = 120;
constexpr std::uint32_t timeToLive = 75 * 60;

/** The full name of a service of that type; of the type itself without an instance. */
std::string fullName(const char* instance, const std::string& type, const std::string& domain)
{
    std::array<char, AVAHI_DOMAIN_NAME_MAX> name{};
    const int error =
        avahi_service_name_join(name.data(), name.size(), instance, type.c_str(), domain.c_str());
    return error == AVAHI_OK ? name.data() : "";
}

std::shared_ptr<AvahiRecord> newRecord(const std::string& name, std::uint16_t type,
                                       std::uint32_t lifetime)
{
    return {avahi_record_new_full(name.c_str(), AVAHI_DNS_CLASS_IN, type, lifetime),
            avahi_record_unref};
}

ServiceRecord pointer(const std::string& name, const std::string& target)
{
    auto record = newRecord(name, AVAHI_DNS_TYPE_PTR, timeToLive);
    record->data.ptr.name = avahi_strdup(target.c_str());
    return {std::move(record), shared};
}

ServiceRecord location(const std::string& name, const std::string& host, std::uint16_t port)
{
    auto record = newRecord(name, AVAHI_DNS_TYPE_SRV, hostTimeToLive);
    record->data.srv.priority = 0;
    record->data.srv.weight = 0;
    record->data.srv.port = port;
    record->data.srv.name = avahi_strdup(host.c_str());
    return {std::move(record), unique};
}

ServiceRecord text(const std::string& name, const AvahiStringList* strings)
{
    auto record = newRecord(name, AVAHI_DNS_TYPE_TXT, timeToLive);
    record->data.txt.string_list = avahi_string_list_copy(strings);
    return {std::move(record), uniqueWithoutProbe};
}

} // namespace

Result<std::vector<ServiceRecord>, int> serviceRecords(const AvahiService& service,
                                                       const std::string& host)
{
    const std::string domain = host.substr(std::min(host.find('.'), host.size() - 1) + 1);
    const std::string type = fullName(nullptr, service.type, domain);
    const std::string name = fullName(service.name.c_str(), service.type, domain);
    const std::string allTypes = fullName(nullptr, "_services._dns-sd._udp", domain);
    if (type.empty() || name.empty() || allTypes.empty()) {
        return failure(static_cast<int>(AVAHI_ERR_INVALID_SERVICE_NAME));
    }
    std::vector<ServiceRecord> records = {location(name, host, service.port),
                                          text(name, service.txt.get()), pointer(type, name),
                                          pointer(allTypes, type)};
    for (const std::string& subtype : service.subtypes) {
        records.push_back(pointer(subtype + "." + domain, name));
    }
    return records;
}

} // namespace korvane
