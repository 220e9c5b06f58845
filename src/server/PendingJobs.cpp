#include "server/PendingJobs.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

PendingJobs::PendingJobs(std::shared_ptr<SerialQueue> queue, Log& log, Limits limits)
    : queue_(std::move(queue)), log_(log), limits_(limits)
{
}

bool PendingJobs::open(const std::shared_ptr<KnownJob>& job)
{
    take(job->id);
    const std::size_t name = job->progress->origin().name.size();
    if (entries_.size() >= limits_.jobs || names_ + name > limits_.names) return false;
    Entry& entry = entries_[job->id];
    names_ += name;
    entry.job = {job, std::make_shared<JoinedDocument>()};
    keepWaiting(job->id, entry);
    return true;
}

const PendingJob* PendingJobs::find(std::int32_t id) const
{
    const auto found = entries_.find(id);
    return found == entries_.end() ? nullptr : &found->second.job;
}

PendingJobs::Arrival PendingJobs::beginArrival(std::int32_t id)
{
    const auto found = entries_.find(id);
    if (found == entries_.end()) return nullptr;
    ++found->second.arrivals;
    found->second.expiry.reset();
    return {this, [weak = weak_from_this(), queue = queue_, id](const PendingJobs*) {
                queue->async([weak, id] {
                    if (const auto self = weak.lock()) self->endArrival(id);
                });
            }};
}

void PendingJobs::endArrival(std::int32_t id)
{
    const auto found = entries_.find(id);
    if (found != entries_.end() && --found->second.arrivals == 0) keepWaiting(id, found->second);
}

std::optional<PendingJob> PendingJobs::take(std::int32_t id)
{
    const auto found = entries_.find(id);
    if (found == entries_.end()) return {};
    PendingJob job = std::move(found->second.job);
    names_ -= job.job->progress->origin().name.size();
    entries_.erase(found);
    return job;
}

void PendingJobs::keepWaiting(std::int32_t id, Entry& entry)
{
    entry.expiry = queue_->after(limits_.wait, [this, id] {
        log_.error(
            fmt::format("IPPServer: dropping job {}: timed out waiting for the last document", id));
        const auto job = take(id);
        job->job->progress->abort("aborted-by-system", "Timed out waiting for the document");
    });
}

} // namespace korvane
