#include "server/PendingJobs.h"

#include <utility>

namespace korvane {

PendingJobs::PendingJobs(SerialQueue& queue, std::function<void(std::int32_t)> onExpired)
    : queue_(queue), onExpired_(std::move(onExpired))
{
}

void PendingJobs::open(std::int32_t id, std::string jobName)
{
    Entry& entry = entries_[id];
    entry.job = {std::move(jobName), {}};
    keepWaiting(id, entry);
}

bool PendingJobs::append(std::int32_t id, Data document)
{
    const auto found = entries_.find(id);
    if (found == entries_.end()) return false;
    if (!document.empty()) found->second.job.documents.push_back(std::move(document));
    keepWaiting(id, found->second);
    return true;
}

std::optional<PendingJob> PendingJobs::take(std::int32_t id)
{
    auto node = entries_.extract(id);
    if (node.empty()) return {};
    return std::move(node.mapped().job);
}

std::size_t PendingJobs::heldBytes() const
{
    std::size_t bytes = 0;
    for (const auto& [id, entry] : entries_) {
        for (const Data& document : entry.job.documents) bytes += document.size();
    }
    return bytes;
}

void PendingJobs::keepWaiting(std::int32_t id, Entry& entry)
{
    entry.expiry = queue_.after(longestWait, [this, id] {
        const auto expired = entries_.extract(id);
        onExpired_(id);
    });
}

} // namespace korvane
