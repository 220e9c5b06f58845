#include "workerpool/JobBudget.h"

#include <algorithm>

namespace korvane {

namespace {

using std::chrono::milliseconds;
using Kind = WorkerFailure::Kind;

milliseconds between(JobBudget::Time from, JobBudget::Time until)
{
    return std::chrono::ceil<milliseconds>(until - from);
}

} // namespace

Result<milliseconds, WorkerFailure> JobBudget::limitOf(const WorkerRequest& request) const
{
    if (!concerns(request)) return request.limit;
    if (job_.isUsedUp() && request.reservedTime == milliseconds(0))
        return failure(WorkerFailure{Kind::overBudget});
    const milliseconds limit =
        std::max(std::min(request.limit, job_.limit()), request.reservedTime);
    if (!request.page) return limit;
    const milliseconds leftForPage = this->leftForPage(*request.page);
    if (leftForPage < FailureBudget::minLimit) return failure(WorkerFailure{Kind::timedOut});
    return std::min(limit, leftForPage);
}

void JobBudget::noteSuccess(const WorkerRequest& request, Time from, Time until)
{
    if (!concerns(request)) return;
    addPageTime(request, between(from, until));
    job_.noteSuccess(request.page ? regainedForPage : between(from, until));
}

void JobBudget::noteFailure(const WorkerRequest& request, Time from, Time until)
{
    if (!concerns(request)) return;
    addPageTime(request, between(from, until));
    job_.noteFailure(from, until);
}

milliseconds JobBudget::leftForPage(std::uint64_t page) const
{
    const auto spent = pages_.find(page);
    return spent == pages_.end() ? maxPageTime : maxPageTime - spent->second;
}

void JobBudget::addPageTime(const WorkerRequest& request, milliseconds time)
{
    if (request.page) pages_[*request.page] += time;
}

} // namespace korvane
