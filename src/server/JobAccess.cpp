#include "server/JobAccess.h"

#include <variant>

namespace korvane::access {

namespace {

/** There are fewer jobs to name: those that wait, and the latest that have ended. */
constexpr std::size_t maxNamedJobs = 1000;

} // namespace

Result<std::shared_ptr<KnownJob>, IPPOutcome> ownJob(const JobReception& jobs, std::int32_t id,
                                                     const std::string& host)
{
    auto job = jobs.jobs().find(id);
    if (!job) return failure(IPPOutcome{.status = IPPStatus::clientErrorNotFound});
    if (!job->isFrom(host)) {
        return failure(IPPOutcome{.status = IPPStatus::clientErrorNotAuthorized,
                                  .message = "Another computer has sent this job."});
    }
    return job;
}

Result<std::shared_ptr<KnownJob>, IPPOutcome>
jobForDocument(const JobReception& jobs, std::int32_t id, const IPPRequest& request)
{
    auto job = jobs.jobs().find(id);
    const bool isAwaited = job && job->documents == 0 && !job->isReceiving &&
                           !request.userName.empty() &&
                           request.userName == job->progress->origin().user;
    if (isAwaited) return job;
    return ownJob(jobs, id, request.host);
}

std::vector<std::int32_t> namedJobs(const IPPMessage& request)
{
    std::vector<std::int32_t> ids;
    const auto* named = ipp::findAttribute(request, "job-ids", IPPTag::operationAttributes);
    if (named == nullptr) return ids;
    for (const IPPValue& id : named->values) {
        if (ids.size() < maxNamedJobs) ids.push_back(std::get<ipp::Integer>(id).value);
    }
    return ids;
}

IPPOutcome canceled()
{
    return {.status = IPPStatus::serverErrorJobCanceled, .message = "The job has been canceled."};
}

} // namespace korvane::access
