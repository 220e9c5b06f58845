#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace korvane {

/** Which of our notifications have which number at the server. Only the latest are remembered. */
class ShownNotifications {
public:
    struct Entry {
        std::string identifier;
        std::string category;
        std::uint32_t number = 0;
    };

    /** The notification that the server knows by that number. */
    std::optional<Entry> find(std::uint32_t number) const;

    /** The number of the notification; 0, which no notification has, when it is not shown. */
    std::uint32_t numberOf(const std::string& identifier) const;

    void add(Entry entry);
    void remove(std::uint32_t number);
    void clear() { entries_.clear(); }

private:
    static constexpr std::size_t limit = 256;

    std::deque<Entry> entries_;
};

} // namespace korvane
