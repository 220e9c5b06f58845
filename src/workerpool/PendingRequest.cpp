#include "workerpool/PendingRequest.h"

#include <utility>

namespace korvane {

PendingRequest::PendingRequest(JobKey job, WorkerRequest request,
                               WorkerService::Completion completion)
    : job_(job), request_(std::move(request)), completion_(std::move(completion))
{
}

PendingRequest::~PendingRequest()
{
    fail({WorkerFailure::Kind::stopped});
}

bool PendingRequest::prepareRetry()
{
    if (std::exchange(wasRetried_, true)) return false;
    return !request_.beforeRetry || request_.beforeRetry();
}

void PendingRequest::complete(WorkerAnswer answer) noexcept
{
    try {
        const auto completion = std::exchange(completion_, nullptr);
        if (completion) completion(std::move(answer));
    } catch (...) { // NOLINT(bugprone-empty-catch): there is nobody to report it to
    }
}

} // namespace korvane
