#pragma once

#include "base/Result.h"
#include "lib/avahi/AvahiService.h"

#include <avahi-common/defs.h>
#include <avahi-core/rr.h>

#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** One DNS record of a service, and how Avahi is to publish it. */
struct ServiceRecord {
    std::shared_ptr<AvahiRecord> record;
    AvahiPublishFlags flags{};
};

/**
 * The records that make up a service on the host `host`, for example "desk.local" (RFC 6763).
 *
 * The SRV record alone is probed for. Avahi settles simultaneous probes (RFC 6762, section 8.2)
 * record by record and not by all records of a name: of two hosts that probe for an SRV and a TXT
 * record, each may lose one of them, and both would take the next name, and again the next.
 *
 * Gives Avahi's error when the names make no domain name.
 */
Result<std::vector<ServiceRecord>, int> serviceRecords(const AvahiService& service,
                                                       const std::string& host);

} // namespace korvane
