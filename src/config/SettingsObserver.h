#pragma once

#include "event/ProcessSignals.h"
#include "event/Queue.h"
#include "lib/systemd/SessionBus.h"

#include <functional>
#include <memory>

namespace korvane {

/**
 * Tells when another program has changed the settings, which says so by a named signal on the
 * session bus (path /org/korvane/NamedSignal, interface org.korvane.NamedSignal, member Posted,
 * with the name org.korvane.Agent.settings-changed) or by SIGHUP. Every signal that is delivered
 * gives one call of the handler, on the thread that delivers it.
 *
 * What is posted while the bus does not deliver to us, at the start or while it is away, is missed;
 * so it also tells when deliveries have begun, for the settings to be compared with those known.
 */
class SettingsObserver {
public:
    /** Begins to deliver SIGHUP to a task, until the result is destroyed. */
    using Subscribe = std::function<std::unique_ptr<Subscription>(Task)>;

    /** The bus outlives the observer. */
    SettingsObserver(Subscribe hangUps, SessionBus& bus)
        : subscribeToHangUps_(std::move(hangUps)), bus_(bus)
    {
    }

    /** Calls `changed` for every signal from now on, and `mayHaveChanged` each time the bus has
     *  begun to deliver them; in place of any earlier handlers. */
    void start(const Task& changed, const Task& mayHaveChanged);

private:
    void awaitDelivery(const Task& mayHaveChanged);

    Subscribe subscribeToHangUps_;
    SessionBus& bus_;
    std::unique_ptr<Subscription> hangUps_;
    std::unique_ptr<Subscription> namedSignals_;
    std::unique_ptr<Subscription> busStates_;
};

} // namespace korvane
