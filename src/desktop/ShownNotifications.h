#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace korvane {

/** The server's IDs of the notifications that are shown; only the latest 256 are kept. */
class ShownNotifications {
public:
    struct Entry {
        std::string identifier;
        std::string category;
        std::uint32_t id = 0;
    };

    /** The notification of that ID. */
    std::optional<Entry> find(std::uint32_t id) const;

    /** The ID of the notification, or 0, which stands for none, when it is not shown. */
    std::uint32_t idOf(const std::string& identifier) const;

    void add(Entry entry);
    void remove(std::uint32_t id);
    void clear() { entries_.clear(); }

private:
    static constexpr std::size_t limit = 256;

    std::deque<Entry> entries_;
};

} // namespace korvane
