#pragma once

#include "server/JobTemplateCheck.h"
#include "server/PreparedRequest.h"

#include <cstdint>

namespace korvane {

/** A request in which nothing has been found wrong. */
struct CheckedRequest {
    const ArrivingRequest& arriving;
    /** The job that it is about; 0 where it is about the printer. */
    std::int32_t jobID = 0;
    /** What it asks of the job that it makes. */
    JobTemplate jobTemplate = {};

    const IPPMessage& message() const { return arriving.message; }
    const IPPRequest& request() const { return arriving.request(); }
    const IPPResponder& responder() const { return arriving.responder; }
};

/** The outcome of a request that was granted, but for that. */
inline IPPOutcome granted(const IPPAttributeGroup& unsupported)
{
    if (unsupported.attributes.empty()) return {};
    return {.status = IPPStatus::successfulOkIgnoredOrSubstitutedAttributes,
            .groups = {unsupported}};
}

} // namespace korvane
