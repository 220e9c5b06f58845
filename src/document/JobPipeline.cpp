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

void JobPipeline::process(std::shared_ptr<SpooledJob> job, std::shared_ptr<PrintJob> printJob)
{
    const std::filesystem::path folder = job->ticket().saveDirectory;
    {
        const std::scoped_lock lock(mutex_);
        ++folders_[folder].begun;
    }
    // The job keeps the pipeline alive.
    const auto publication = std::make_shared<JobPublication>(
        environment_, std::move(job), printJob, handlers_,
        [self = shared_from_this(), folder] { self->jobEnded(folder); });
    const auto saving = std::make_shared<SavingJob>(environment_, publication);
    printJob->enqueue();
    const bool isToBegin = admit(folder, saving);
    printJob->onCancel([weak = weak_from_this(), weakPublication = std::weak_ptr(publication),
                        weakSaving = std::weak_ptr(saving), folder] {
        if (const auto canceled = weakPublication.lock()) JobPublication::discard(canceled);
        const auto canceled = weakSaving.lock();
        const auto self = weak.lock();
        if (!canceled || !self) return;
        canceled->cancel();
        self->stopWaiting(folder, canceled);
    });
    if (isToBegin) saving->begin();
}

/** Whether the job begins now; else it waits. */
bool JobPipeline::admit(const std::filesystem::path& folder, const std::shared_ptr<SavingJob>& job)
{
    const std::scoped_lock lock(mutex_);
    Folder& jobs = folders_[folder];
    if (jobs.begun <= maxBegun) return true;
    jobs.waiting.push_back(job);
    --jobs.begun;
    return false;
}

/** A job that waited is dropped, and until it has ended one more than usual has begun. */
void JobPipeline::stopWaiting(const std::filesystem::path& folder,
                              const std::shared_ptr<SavingJob>& job)
{
    const std::scoped_lock lock(mutex_);
    const auto jobs = folders_.find(folder);
    if (jobs != folders_.end() && std::erase(jobs->second.waiting, job) > 0) ++jobs->second.begun;
}

/** The job that waits longest takes the place of the one that has ended. After the last one, what a
 *  burst of jobs took is given back. */
void JobPipeline::jobEnded(const std::filesystem::path& folder) noexcept
{
    std::shared_ptr<SavingJob> next;
    {
        const std::scoped_lock lock(mutex_);
        const auto entry = folders_.find(folder);
        Folder& jobs = entry->second;
        --jobs.begun;
        if (jobs.begun >= maxBegun) return; // One was canceled while it waited.
        if (jobs.waiting.empty()) {
            if (jobs.begun == 0) folders_.erase(entry);
            if (!folders_.empty()) return;
        } else {
            next = std::move(jobs.waiting.front());
            jobs.waiting.pop_front();
            ++jobs.begun;
        }
    }
    try {
        next ? next->begin() : environment_.queues.background().async(returnFreeMemory);
    } catch (...) { // NOLINT(bugprone-empty-catch): the job publishes itself
    }
}

} // namespace korvane
