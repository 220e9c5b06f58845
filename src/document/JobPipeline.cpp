#include "document/JobPipeline.h"

#include "base/HeapMemory.h"

#include <utility>

namespace korvane {

namespace {

/** A job in work has its document open, which takes descriptors. */
constexpr std::size_t maxBegun = 64;

} // namespace

JobPipeline::JobPipeline(JobEnvironment environment, JobHandlers handlers)
    : environment_(std::move(environment)), handlers_(std::move(handlers))
{
}

void JobPipeline::process(std::shared_ptr<SpooledJob> job)
{
    const std::filesystem::path folder = job->ticket().saveDirectory;
    {
        const std::scoped_lock lock(mutex_);
        ++folders_[folder].begun;
    }
    // The job keeps the pipeline alive.
    auto saving = std::make_shared<SavingJob>(
        environment_, std::move(job), handlers_,
        [self = shared_from_this(), folder] { self->jobEnded(folder); });
    {
        const std::scoped_lock lock(mutex_);
        Folder& jobs = folders_[folder];
        if (jobs.begun > maxBegun) {
            jobs.waiting.push_back(std::move(saving));
            --jobs.begun;
            return;
        }
    }
    saving->begin();
}

/** The job that waits longest takes the place of the one that has ended. After the last one, what a
 *  burst of jobs took is given back. */
void JobPipeline::jobEnded(const std::filesystem::path& folder) noexcept
{
    std::shared_ptr<SavingJob> next;
    {
        const std::scoped_lock lock(mutex_);
        const auto jobs = folders_.find(folder);
        if (jobs->second.waiting.empty()) {
            if (--jobs->second.begun == 0) folders_.erase(jobs);
            if (!folders_.empty()) return;
        } else {
            next = std::move(jobs->second.waiting.front());
            jobs->second.waiting.pop_front();
        }
    }
    try {
        next ? next->begin() : environment_.queues.background().async(returnFreeMemory);
    } catch (...) { // NOLINT(bugprone-empty-catch): the job publishes itself
    }
}

} // namespace korvane
