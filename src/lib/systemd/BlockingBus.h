#pragma once

#include "event/Queue.h"
#include "lib/systemd/SessionBus.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace korvane {

/** A bus for threads that may wait. */
class BlockingBus {
public:
    virtual ~BlockingBus() = default;

    /** Calls the method and waits for the reply, for as long as the call's time-out. */
    virtual BusReply call(const BusCall& call) = 0;

    /** Waits for `delay`; false, and at once, when calls are of no use any more. */
    virtual bool pause(std::chrono::milliseconds delay) = 0;
};

/** The session bus for other threads than that of its queue. Bus and queue outlive it. */
class BlockingSessionBus final : public BlockingBus {
public:
    BlockingSessionBus(SessionBus& bus, SerialQueue& queue) : bus_(bus), queue_(queue) {}

    BusReply call(const BusCall& call) override;
    bool pause(std::chrono::milliseconds delay) override;

    /** Ends what is waited for, and all that will be, with an error. On any thread. */
    void stop();

private:
    SessionBus& bus_;
    SerialQueue& queue_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isStopped_ = false;
};

} // namespace korvane
