#include "agent/ActiveJobs.h"

#include <utility>

namespace korvane {

namespace {

JobProgress progressOf(std::uint64_t number, const PrintJob& job)
{
    JobStatus status = job.status();
    return {.number = number,
            .name = job.origin().name,
            .message = std::move(status.message),
            .pagesCompleted = static_cast<std::uint32_t>(status.pagesCompleted),
            .pages = static_cast<std::uint32_t>(status.pages.value_or(0))};
}

} // namespace

void ActiveJobs::add(const std::shared_ptr<PrintJob>& job)
{
    std::uint64_t number = 0;
    {
        const std::scoped_lock lock(mutex_);
        number = ++lastNumber_;
        jobs_.emplace(number, job);
    }
    job->onChange([weak = weak_from_this(), number] {
        if (const auto self = weak.lock()) self->handleChange(number);
    });
    // It may have ended meanwhile.
    handleChange(number);
}

void ActiveJobs::handleChange(std::uint64_t number)
{
    {
        const std::scoped_lock lock(mutex_);
        const auto job = jobs_.find(number);
        if (job == jobs_.end()) return;
        if (isEnded(job->second->state())) jobs_.erase(job);
    }
    changed_();
}

std::vector<JobProgress> ActiveJobs::list() const
{
    const std::scoped_lock lock(mutex_);
    std::vector<JobProgress> list;
    for (const auto& [number, job] : jobs_) {
        if (list.size() == maxListed) break;
        list.push_back(progressOf(number, *job));
    }
    return list;
}

} // namespace korvane
