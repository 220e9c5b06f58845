#pragma once

#include "desktop/NotificationCenter.h"

#include <cstddef>
#include <deque>
#include <string>

namespace korvane {

/** The requests that wait for a notification server: one for each identifier, and only the latest
 *  32, for who logs in does not want to read a week of them. */
class WaitingRequests {
public:
    struct Entry {
        NotificationRequest request;
        NotificationCenter::AddHandler handler;
    };

    bool isEmpty() const { return entries_.empty(); }

    /** The request that it replaces is done; the one that gives way to it has failed. */
    void add(Entry entry);

    /** The request, if it waits, is done. */
    void remove(const std::string& identifier);

    /** All of them, oldest first; none waits any more. */
    std::deque<Entry> takeAll();

private:
    static constexpr std::size_t limit = 32;

    std::deque<Entry> entries_;
};

} // namespace korvane
