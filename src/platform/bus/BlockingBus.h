#pragma once

#include "platform/base/Result.h"
#include "platform/bus/BusCall.h"

#include <memory>

namespace korvane {

/** A connection whose calls wait for their answers: for threads that may. Used on one thread. */
class BlockingBus {
public:
    virtual ~BlockingBus() = default;

    /** Calls the method and waits for what comes of it, for as long as the call's time-out. */
    virtual BusReply call(const BusCall& call) = 0;
};

/** A connection of its own to the user's session bus, made within five seconds or not at all. */
Result<std::unique_ptr<BlockingBus>, BusError> openBlockingSessionBus();

} // namespace korvane
