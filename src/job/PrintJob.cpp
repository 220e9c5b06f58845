#include "job/PrintJob.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

/** Holds the mutex while the status becomes another, and tells of it afterwards. */
class PrintJob::Change {
public:
    explicit Change(const PrintJob& job) : job_(job), lock_(job.mutex_) {}
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change()
    {
        const auto task = job_.changeTask_;
        lock_.unlock();
        if (task) (*task)();
    }

private:
    const PrintJob& job_;
    std::unique_lock<std::mutex> lock_;
};

PrintJob::PrintJob(JobOrigin origin, const Clock& clock) : origin_(std::move(origin)), clock_(clock)
{
    status_ = {.state = JobState::pendingHeld, .reason = "job-incoming", .created = clock.now()};
}

JobState PrintJob::state() const
{
    const std::scoped_lock lock(mutex_);
    return status_.state;
}

JobStatus PrintJob::status() const
{
    const std::scoped_lock lock(mutex_);
    JobStatus status = status_;
    if (phase_ == Phase::processing && status.pages && status.pagesCompleted < *status.pages) {
        status.message =
            fmt::format("Recognizing page {} of {}", status.pagesCompleted + 1, *status.pages);
    }
    return status;
}

void PrintJob::receive()
{
    const Change change(*this);
    if (phase_ != Phase::waiting) return;
    phase_ = Phase::receiving;
    status_.state = JobState::pending;
}

void PrintJob::enqueue()
{
    const Change change(*this);
    if (phase_ >= Phase::queued) return;
    phase_ = Phase::queued;
    status_.state = JobState::pending;
    status_.reason = "none";
}

void PrintJob::process(std::size_t pageCount)
{
    const Change change(*this);
    if (phase_ >= Phase::publishing) return;
    if (phase_ != Phase::processing) status_.processing = clock_.now();
    phase_ = Phase::processing;
    status_.state = JobState::processing;
    status_.reason = "job-printing";
    status_.pages = pageCount;
    status_.pagesCompleted = 0;
}

void PrintJob::completePage()
{
    const Change change(*this);
    if (phase_ == Phase::processing && status_.pagesCompleted < status_.pages)
        ++status_.pagesCompleted;
}

bool PrintJob::publish()
{
    const Change change(*this);
    if (status_.state == JobState::canceled) return false;
    if (phase_ == Phase::ended) return true;
    phase_ = Phase::publishing;
    status_.state = JobState::processing;
    status_.reason = "job-printing";
    status_.message = "Saving";
    if (!status_.processing) status_.processing = clock_.now();
    cancelTask_ = nullptr;
    return true;
}

void PrintJob::complete(std::string message)
{
    const std::string_view reason =
        message.empty() ? "job-completed-successfully" : "job-completed-with-errors";
    end(JobState::completed, reason, std::move(message));
}

void PrintJob::abort(std::string_view reason, std::string message)
{
    end(JobState::aborted, reason, std::move(message));
}

void PrintJob::end(JobState state, std::string_view reason, std::string message)
{
    const Change change(*this);
    if (phase_ == Phase::ended) return;
    phase_ = Phase::ended;
    status_.state = state;
    status_.reason = reason;
    status_.message = std::move(message);
    if (state == JobState::completed && status_.pages) status_.pagesCompleted = *status_.pages;
    status_.ended = clock_.now();
    cancelTask_ = nullptr;
}

bool PrintJob::cancel()
{
    CancelTask task;
    {
        const Change change(*this);
        if (phase_ >= Phase::publishing) return false;
        phase_ = Phase::ended;
        status_.state = JobState::canceled;
        status_.reason = "job-canceled-by-user";
        status_.message = {};
        status_.ended = clock_.now();
        task = std::exchange(cancelTask_, nullptr);
    }
    if (task) task();
    return true;
}

void PrintJob::onCancel(CancelTask task)
{
    {
        const std::scoped_lock lock(mutex_);
        if (status_.state != JobState::canceled) {
            if (phase_ < Phase::publishing) cancelTask_ = std::move(task);
            return;
        }
    }
    if (task) task();
}

void PrintJob::onChange(std::function<void()> task)
{
    auto shared = std::make_shared<const std::function<void()>>(std::move(task));
    const std::scoped_lock lock(mutex_);
    changeTask_ = std::move(shared);
}

} // namespace korvane
