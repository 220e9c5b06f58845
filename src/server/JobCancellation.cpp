#include "server/JobCancellation.h"

#include "server/JobAccess.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane::cancellation {

namespace {

IPPOutcome cancel(JobReception& jobs, const KnownJob& job)
{
    if (!job.progress->cancel()) {
        return {.status = IPPStatus::clientErrorNotPossible,
                .message = "The job has ended, or is being saved."};
    }
    jobs.pending().take(job.id);
    jobs.log().note(fmt::format("IPPServer: job {} canceled by its sender", job.id));
    return {};
}

bool isOf(const KnownJob& job, const IPPRequest& request)
{
    return job.isFrom(request.host) && job.progress->origin().user == request.userName;
}

/** Either all of the named jobs are canceled or none, but for one that begins to be saved
 *  meanwhile. */
IPPOutcome cancelNamed(JobReception& jobs, const std::vector<std::int32_t>& ids,
                       const IPPRequest& request)
{
    std::vector<std::shared_ptr<KnownJob>> named;
    for (const std::int32_t id : ids) {
        const auto job = access::ownJob(jobs, id, request.host);
        if (!job) return job.error();
        if (!isOf(**job, request)) return {.status = IPPStatus::clientErrorNotAuthorized};
        if (isEnded((*job)->progress->state()))
            return {.status = IPPStatus::clientErrorNotPossible};
        named.push_back(*job);
    }
    IPPOutcome outcome;
    for (const auto& job : named) {
        IPPOutcome each = cancel(jobs, *job);
        if (each.status != IPPStatus::successfulOk) outcome = std::move(each);
    }
    return outcome;
}

IPPOutcome cancelAll(JobReception& jobs, const IPPRequest& request)
{
    for (const auto& job : jobs.jobs().all()) {
        if (isOf(*job, request)) cancel(jobs, *job);
    }
    return {};
}

} // namespace

PreparedRequest cancelJob(const std::shared_ptr<JobReception>& jobs, const CheckedRequest& checked)
{
    return answered(checked.responder(),
                    [jobs, id = checked.jobID, host = checked.request().host]() -> IPPOutcome {
                        const auto job = access::ownJob(*jobs, id, host);
                        return job ? cancel(*jobs, **job) : job.error();
                    });
}

PreparedRequest cancelMyJobs(const std::shared_ptr<JobReception>& jobs,
                             const CheckedRequest& checked)
{
    return answered(checked.responder(), [jobs, ids = access::namedJobs(checked.message()),
                                          request = checked.request()] {
        return ids.empty() ? cancelAll(*jobs, request) : cancelNamed(*jobs, ids, request);
    });
}

} // namespace korvane::cancellation
