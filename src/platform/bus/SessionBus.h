#pragma once

#include "platform/bus/BusCall.h"
#include "platform/bus/BusSignal.h"

#include <functional>
#include <memory>

namespace korvane {

/** Something asked of the bus; destroying it, on the bus's queue, takes it back. */
class BusSubscription {
public:
    virtual ~BusSubscription() = default;
};

/**
 * The user's session bus. It may be absent and it may come and go; what was subscribed to stays so
 * when it is there again. Used on one queue, on which all handlers are called, never from inside
 * the call that they were given to. Nothing here waits. It outlives its subscriptions.
 */
class SessionBus {
public:
    enum class State { connecting, connected, absent };

    using ReplyHandler = std::function<void(const BusReply&)>;
    using SignalHandler = std::function<void(const BusSignal&)>;
    using StateHandler = std::function<void(State)>;

    virtual ~SessionBus() = default;

    virtual State state() const = 0;

    /** Calls the method; the handler is called once, with what came of it. */
    virtual void call(const BusCall& call, ReplyHandler handler) = 0;

    /** Delivers the signals that match, for as long as the result lives. */
    [[nodiscard]] virtual std::unique_ptr<BusSubscription> subscribe(BusMatch match,
                                                                     SignalHandler handler) = 0;

    /** Tells each change of the state, for as long as the result lives. */
    [[nodiscard]] virtual std::unique_ptr<BusSubscription> watchState(StateHandler handler) = 0;
};

} // namespace korvane
