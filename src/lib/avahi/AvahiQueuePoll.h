#pragma once

#include "event/Queue.h"

#include <avahi-common/watch.h>

#include <functional>
#include <memory>
#include <vector>

namespace korvane {

/**
 * Runs Avahi on a serial queue: its sockets are watched and its times are kept by the queue, so
 * that nothing runs while nothing happens. Used and destroyed on the queue, after what it runs.
 */
class AvahiQueuePoll {
public:
    /** `onSetBack` is told, from inside Avahi, when the clock on the wall was set back: Avahi then
     *  does what is due only when that clock says so, an hour later perhaps. */
    explicit AvahiQueuePoll(
        SerialQueue& queue, std::function<void()> onSetBack = [] {});
    ~AvahiQueuePoll();
    AvahiQueuePoll(const AvahiQueuePoll&) = delete;
    AvahiQueuePoll& operator=(const AvahiQueuePoll&) = delete;

    const AvahiPoll* api() const { return &api_; }

private:
    friend AvahiWatch;
    friend AvahiTimeout;

    AvahiPoll api_{};
    SerialQueue& queue_;
    const std::function<void()> onSetBack_;
    std::vector<std::shared_ptr<AvahiWatch>> watches_;
    std::vector<std::shared_ptr<AvahiTimeout>> timeouts_;
};

} // namespace korvane
