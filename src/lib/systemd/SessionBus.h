#pragma once

#include "event/Subscription.h"
#include "lib/systemd/BusMessage.h"
#include "lib/systemd/BusObject.h"

#include <functional>
#include <memory>

namespace korvane {

/**
 * A message bus: the user's session bus or the system's. It may be absent and it may come and go;
 * what was subscribed to stays so when it is there again. Used on one queue, on which all handlers
 * are called, never from inside the call that they were given to. Nothing here waits. It outlives
 * its subscriptions.
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
    [[nodiscard]] virtual std::unique_ptr<Subscription> subscribe(BusMatch match,
                                                                  SignalHandler handler) = 0;

    /** Sends a signal; while the bus is not connected it is dropped. */
    virtual void emit(const BusEmission& emission) = 0;

    /** Offers the object to other programs, for as long as the result lives. */
    [[nodiscard]] virtual std::unique_ptr<Subscription> offer(BusObject object) = 0;

    /** Tells each change of the state, for as long as the result lives. */
    [[nodiscard]] virtual std::unique_ptr<Subscription> watchState(StateHandler handler) = 0;
};

} // namespace korvane
