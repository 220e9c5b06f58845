#pragma once

#include "base/Result.h"
#include "ipp/IPPMessage.h"
#include "server/IPPOutcome.h"
#include "server/JobReception.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/** What a client may do with jobs of IPP Everywhere: only the host that sent a job may change it.
 */
namespace korvane::access {

/** The job of that id for a client of that host, which wants to change it; else why it cannot. */
Result<std::shared_ptr<KnownJob>, IPPOutcome> ownJob(const JobReception& jobs, std::int32_t id,
                                                     const std::string& host);

/** The jobs that a request names in job-ids; none where it names none. */
std::vector<std::int32_t> namedJobs(const IPPMessage& request);

/** The answer to a request for a job that was canceled, or is meanwhile. */
IPPOutcome canceled();

} // namespace korvane::access
