#include "desktop/PendingNotifications.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxJobs = 256;
constexpr std::size_t maxTextBytes = 32U << 20U;

} // namespace

void PendingNotifications::add(std::string identifier, const CompletedJob& job)
{
    textBytes_ += job.plainText.size();
    entries_.push_back({std::move(identifier), job});
    while (entries_.size() > 1 && (entries_.size() > maxJobs || textBytes_ > maxTextBytes)) {
        textBytes_ -= entries_.front().job.plainText.size();
        entries_.pop_front();
    }
}

std::optional<CompletedJob> PendingNotifications::take(const std::string& identifier)
{
    const auto found = std::ranges::find(entries_, identifier, &Entry::identifier);
    if (found == entries_.end()) return {};
    CompletedJob job = std::move(found->job);
    textBytes_ -= job.plainText.size();
    entries_.erase(found);
    return job;
}

} // namespace korvane
