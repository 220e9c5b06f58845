#include "desktop/WaitingRequests.h"

#include <algorithm>
#include <utility>

namespace korvane {

void WaitingRequests::add(Entry entry)
{
    remove(entry.request.identifier);
    entries_.push_back(std::move(entry));
    if (entries_.size() <= limit) return;
    const Entry oldest = std::move(entries_.front());
    entries_.pop_front();
    oldest.handler(failure(
        NotificationError{.isUnavailable = true, .text = "Too many notifications are waiting"}));
}

void WaitingRequests::remove(const std::string& identifier)
{
    const auto found = std::ranges::find_if(
        entries_, [&](const Entry& entry) { return entry.request.identifier == identifier; });
    if (found == entries_.end()) return;
    const Entry removed = std::move(*found);
    entries_.erase(found);
    removed.handler({});
}

std::deque<WaitingRequests::Entry> WaitingRequests::takeAll()
{
    return std::exchange(entries_, {});
}

} // namespace korvane
