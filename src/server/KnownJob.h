#pragma once

#include "document/DocumentTraits.h"
#include "ipp/IPPMessage.h"
#include "job/PrintJob.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** A job as its requests describe it, and how it gets on. Used on the server's queue only, but for
 *  `progress`. */
struct KnownJob {
    std::shared_ptr<PrintJob> progress;
    /** Given by the job table; 0 before. */
    std::int32_t id = 0;
    std::string uuid;
    DocumentTraits traits = {};
    /** Empty when the client does not say. */
    std::string documentFormat = {};
    std::string documentName = {};
    /** What else the client asked for and gets: its job template attributes. */
    std::vector<IPPAttribute> settings = {};
    /** What has arrived of its documents. */
    std::uint64_t bytes = 0;
    int documents = 0;
    /** A document is arriving, or is being taken in. */
    bool isReceiving = false;

    /** Whether it is that host that sent the job. */
    bool isFrom(const std::string& host) const
    {
        return !host.empty() && host == progress->origin().host;
    }
};

} // namespace korvane
