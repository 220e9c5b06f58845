#pragma once

#include "ipp/IPPMessage.h"

#include <vector>

namespace korvane {

/** What a request asks of its job by job template attributes (RFC 8011 section 5.2). */
struct JobTemplate {
    /** What the job gets. Collections are rebuilt. */
    std::vector<IPPAttribute> settings;
    /** What it does not get: attributes whose values are not supported, and those that are not
     *  known, without their values (section 4.1.7). */
    IPPAttributeGroup unsupported{.tag = IPPTag::unsupportedAttrs, .attributes = {}};
};

/** Sorts the job attributes of a request by what the printer says that it supports. Only as many
 *  of both are kept as clients send that mean it. */
JobTemplate readJobTemplate(const IPPMessage& request);

} // namespace korvane
