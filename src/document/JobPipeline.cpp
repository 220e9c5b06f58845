#include "document/JobPipeline.h"

#include <utility>

namespace korvane {

namespace {

/** A job in work has its document open, which takes descriptors. */
constexpr std::size_t maxBegun = 64;

} // namespace

JobPipeline::JobPipeline(JobEnvironment environment, Completion completion)
    : environment_(std::move(environment)), completion_(std::move(completion))
{
}

void JobPipeline::process(const std::string& jobName, const Data& pdf,
                          const std::filesystem::path& saveDirectory)
{
    // The job keeps the pipeline alive.
    auto job = std::make_shared<SavingJob>(
        environment_,
        SavingJob::Document{.jobName = jobName, .pdf = pdf, .saveDirectory = saveDirectory},
        completion_, [self = shared_from_this()] { self->jobEnded(); });
    {
        const std::scoped_lock lock(mutex_);
        ++jobs_;
        if (jobs_ - waiting_.size() > maxBegun) {
            waiting_.push_back(std::move(job));
            return;
        }
    }
    begin(std::move(job));
}

void JobPipeline::begin(std::shared_ptr<SavingJob> job)
{
    environment_.queues.background().async([job = std::move(job)] { job->begin(); });
}

/** The job that waits longest takes the place of the one that has ended. */
void JobPipeline::jobEnded() noexcept
{
    std::shared_ptr<SavingJob> next;
    {
        const std::scoped_lock lock(mutex_);
        --jobs_;
        if (waiting_.empty()) return;
        next = std::move(waiting_.front());
        waiting_.pop_front();
    }
    try {
        begin(std::move(next));
    } catch (...) { // NOLINT(bugprone-empty-catch): the job has saved itself
    }
}

} // namespace korvane
