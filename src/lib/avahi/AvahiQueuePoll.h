#pragma once

#include "event/Queue.h"

#include <avahi-common/watch.h>

#include <memory>
#include <vector>

namespace korvane {

/**
 * Runs Avahi on a serial queue: its sockets are watched and its times are kept by the queue, so
 * that nothing runs while nothing happens. Used and destroyed on the queue, after what it runs.
 */
class AvahiQueuePoll {
public:
    explicit AvahiQueuePoll(SerialQueue& queue);
    ~AvahiQueuePoll();
    AvahiQueuePoll(const AvahiQueuePoll&) = delete;
    AvahiQueuePoll& operator=(const AvahiQueuePoll&) = delete;

    const AvahiPoll* api() const { return &api_; }

private:
    friend AvahiWatch;
    friend AvahiTimeout;

    AvahiPoll api_{};
    SerialQueue& queue_;
    std::vector<std::shared_ptr<AvahiWatch>> watches_;
    std::vector<std::shared_ptr<AvahiTimeout>> timeouts_;
};

} // namespace korvane
