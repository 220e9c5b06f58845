#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"
#include "ipp/RequestedAttributes.h"
#include "server/KnownJob.h"

#include <string>
#include <vector>

namespace korvane {

/** A job as one client may see it. */
struct JobView {
    const KnownJob& job;
    const PrinterDescriptor& printer;
    PrinterStatus::Time now;
    /** The moment that printer-up-time is counted from. */
    PrinterStatus::Time started;
    /** Whether it is the host that sent the job; others do not see what it is nor whose. */
    bool isOwner = false;
};

/** What is told of a job (RFC 8011 section 5.3, PWG 5100.11, PWG 5100.13), as far as it is
 *  requested. */
IPPAttributeGroup makeJobAttributes(const JobView& view, const RequestedAttributes& requested);

/** What the answers to the requests that make jobs, or change them, tell of a job. */
IPPAttributeGroup makeJobGroup(const JobView& view);

} // namespace korvane
