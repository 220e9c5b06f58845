#include "server/PendingJobs.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

/** What a document takes beside its bytes, so that many tiny ones are bounded as well. */
constexpr std::size_t documentOverhead = 256;

} // namespace

PendingJobs::PendingJobs(SerialQueue& queue, Log& log, Limits limits)
    : queue_(queue), log_(log), limits_(limits)
{
}

void PendingJobs::open(std::int32_t id, std::string jobName)
{
    if (const auto former = entries_.find(id); former != entries_.end()) remove(former);
    Entry& entry = entries_[id];
    grow(entry, jobName.size());
    entry.job.jobName = std::move(jobName);
    keepWaiting(id, entry);
    makeRoom();
}

PendingJobs::Appended PendingJobs::append(std::int32_t id, Data document)
{
    const auto found = entries_.find(id);
    if (found == entries_.end()) return Appended::unknownJob;
    grow(found->second, document.size() + documentOverhead);
    if (!document.empty()) found->second.job.documents.push_back(std::move(document));
    keepWaiting(id, found->second);
    makeRoom();
    return entries_.contains(id) ? Appended::done : Appended::tooLarge;
}

std::optional<PendingJob> PendingJobs::take(std::int32_t id)
{
    const auto found = entries_.find(id);
    if (found == entries_.end()) return {};
    PendingJob job = std::move(found->second.job);
    remove(found);
    return job;
}

void PendingJobs::keepWaiting(std::int32_t id, Entry& entry)
{
    entry.lastSeen = ++clock_;
    entry.expiry = queue_.after(limits_.wait, [this, id] {
        drop(entries_.find(id), "timed out waiting for the last document");
    });
}

void PendingJobs::grow(Entry& entry, std::size_t bytes)
{
    entry.bytes += bytes;
    bytes_ += bytes;
}

void PendingJobs::makeRoom()
{
    while (entries_.size() > limits_.jobs || bytes_ > limits_.bytes) {
        drop(std::ranges::min_element(entries_, {},
                                      [](const auto& entry) { return entry.second.lastSeen; }),
             "too many or too large unfinished jobs");
    }
}

void PendingJobs::drop(Entries::iterator entry, std::string_view reason)
{
    log_.error(fmt::format("IPPServer: dropping job {}: {}", entry->first, reason));
    remove(entry);
}

void PendingJobs::remove(Entries::iterator entry)
{
    bytes_ -= entry->second.bytes;
    entries_.erase(entry);
}

} // namespace korvane
