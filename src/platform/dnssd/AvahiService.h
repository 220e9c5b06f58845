#pragma once

#include "platform/dnssd/ServiceDirectory.h"
#include "platform/dnssd/ServiceType.h"

#include <avahi-common/address.h>
#include <avahi-common/strlst.h>

#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/** A registration in Avahi's terms. */
struct AvahiService {
    std::string name;
    ServiceType type;
    std::uint16_t port = 0;
    std::shared_ptr<AvahiStringList> txt;
    AvahiIfIndex interface = AVAHI_IF_UNSPEC;
};

/** A name that is too long for DNS-SD, which has room for 63 bytes, is cut between characters. */
AvahiService avahiService(const Registration& registration);

} // namespace korvane
