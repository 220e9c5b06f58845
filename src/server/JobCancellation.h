#pragma once

#include "server/CheckedRequest.h"
#include "server/JobReception.h"

#include <memory>

/** The operations of IPP Everywhere that cancel jobs, in whichever phase they are until they are
 *  saved. Who sends a document of one is told at once. */
namespace korvane::cancellation {

/** Cancel-Job (RFC 8011 section 4.3.3). */
PreparedRequest cancelJob(const std::shared_ptr<JobReception>& jobs, const CheckedRequest& checked);

/** Cancel-My-Jobs (PWG 5100.11 section 4.2): those with the given job-ids, or all that have not
 *  ended, of the user at the host. */
PreparedRequest cancelMyJobs(const std::shared_ptr<JobReception>& jobs,
                             const CheckedRequest& checked);

} // namespace korvane::cancellation
