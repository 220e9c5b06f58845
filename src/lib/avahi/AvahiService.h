#pragma once

#include "lib/avahi/ServiceDirectory.h"

#include <avahi-common/address.h>
#include <avahi-common/strlst.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** A registration in Avahi's terms. */
struct AvahiService {
    /** In the 63 bytes that DNS-SD has for it, without control characters; empty when nothing of
     * the name asked for is left. */
    std::string name;
    std::string type;
    /** In full: "_ipp._tcp,_universal" is the type "_ipp._tcp", which is also found as
     *  "_universal._sub._ipp._tcp" (RFC 6763, section 7.1). */
    std::vector<std::string> subtypes;
    std::uint16_t port = 0;
    /** "key=value" each (RFC 6763, section 6), without those longer than 255 bytes. */
    std::shared_ptr<AvahiStringList> txt;
    AvahiIfIndex interface = AVAHI_IF_UNSPEC;
};

AvahiService avahiService(const Registration& registration);

} // namespace korvane
