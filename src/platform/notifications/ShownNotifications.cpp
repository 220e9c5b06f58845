#include "platform/notifications/ShownNotifications.h"

#include <algorithm>
#include <utility>

namespace korvane {

std::optional<ShownNotifications::Entry> ShownNotifications::find(std::uint32_t number) const
{
    const auto found = std::ranges::find(entries_, number, &Entry::number);
    return found == entries_.end() ? std::nullopt : std::optional(*found);
}

std::uint32_t ShownNotifications::numberOf(const std::string& identifier) const
{
    const auto found = std::ranges::find(entries_, identifier, &Entry::identifier);
    return found == entries_.end() ? 0 : found->number;
}

void ShownNotifications::add(Entry entry)
{
    std::erase_if(entries_, [&](const Entry& other) {
        return other.identifier == entry.identifier || other.number == entry.number;
    });
    if (entries_.size() == limit) entries_.pop_front();
    entries_.push_back(std::move(entry));
}

void ShownNotifications::remove(std::uint32_t number)
{
    std::erase_if(entries_, [number](const Entry& entry) { return entry.number == number; });
}

} // namespace korvane
