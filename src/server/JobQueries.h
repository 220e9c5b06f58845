#pragma once

#include "server/CheckedRequest.h"
#include "server/JobReception.h"

#include <memory>

/** The operations of IPP Everywhere that tell of jobs. Every client sees that there are jobs and
 *  how they get on; only those of its own host are shown to it whole. */
namespace korvane::queries {

/** Get-Job-Attributes (RFC 8011 section 4.3.4). */
PreparedRequest getJobAttributes(const std::shared_ptr<JobReception>& jobs,
                                 const CheckedRequest& checked);

/** Get-Jobs (RFC 8011 section 4.2.6, PWG 5100.11 section 4.1). */
PreparedRequest getJobs(const std::shared_ptr<JobReception>& jobs, const CheckedRequest& checked);

} // namespace korvane::queries
