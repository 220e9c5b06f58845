#pragma once

#include "desktop/NotificationCenter.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace korvane {

/** The notifications that are shown, with the server's IDs and what their actions need; only the
 *  latest 256 are kept. */
class ShownNotifications {
public:
    struct Entry {
        std::string identifier;
        std::string category;
        UserInformation userInformation;
        std::uint32_t id = 0;
    };

    /** The notification of that ID. */
    std::optional<Entry> find(std::uint32_t id) const;

    /** The ID of the notification, or 0, which stands for none, when it is not shown. */
    std::uint32_t idOf(const std::string& identifier) const;

    /** Gives the ID of the one that is dropped for it. */
    std::optional<std::uint32_t> add(Entry entry);
    void remove(std::uint32_t id);
    void clear() { entries_.clear(); }

private:
    static constexpr std::size_t limit = 256;

    std::deque<Entry> entries_;
};

} // namespace korvane
