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

/** The same for a client that brings the document of the job. Its address may be another than when
 *  it made the job (IPv4 after IPv6, or a new temporary address, RFC 8981), so as long as there is
 *  no document the name of its user is enough. */
Result<std::shared_ptr<KnownJob>, IPPOutcome>
jobForDocument(const JobReception& jobs, std::int32_t id, const IPPRequest& request);

/** The jobs that a request names in job-ids; none where it names none. */
std::vector<std::int32_t> namedJobs(const IPPMessage& request);

/** The answer to a request for a job that was canceled, or is meanwhile. */
IPPOutcome canceled();

} // namespace korvane::access
