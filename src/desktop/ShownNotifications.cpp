#include "desktop/ShownNotifications.h"

#include <algorithm>
#include <utility>

namespace korvane {

std::optional<ShownNotifications::Entry> ShownNotifications::find(std::uint32_t id) const
{
    const auto found = std::ranges::find(entries_, id, &Entry::id);
    return found == entries_.end() ? std::nullopt : std::optional(*found);
}

std::uint32_t ShownNotifications::idOf(const std::string& identifier) const
{
    const auto found = std::ranges::find(entries_, identifier, &Entry::identifier);
    return found == entries_.end() ? 0 : found->id;
}

std::optional<std::uint32_t> ShownNotifications::add(Entry entry)
{
    std::erase_if(entries_, [&](const Entry& other) {
        return other.identifier == entry.identifier || other.id == entry.id;
    });
    entries_.push_back(std::move(entry));
    if (entries_.size() <= limit) return {};
    const std::uint32_t dropped = entries_.front().id;
    entries_.pop_front();
    return dropped;
}

void ShownNotifications::remove(std::uint32_t id)
{
    std::erase_if(entries_, [id](const Entry& entry) { return entry.id == id; });
}

} // namespace korvane
