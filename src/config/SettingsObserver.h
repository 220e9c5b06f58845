#pragma once

#include "platform/queue/Queue.h"
#include "platform/signals/ProcessSignals.h"

#include <functional>
#include <memory>

namespace korvane {

/**
 * Tells when another program has changed the settings. Every signal that the system delivers gives
 * one call of the handler, on the thread that delivers it.
 */
class SettingsObserver {
public:
    /** Begins to deliver the settings-changed signal to a task, until the result is destroyed. */
    using Subscribe = std::function<std::unique_ptr<SignalWatch>(Task)>;

    explicit SettingsObserver(Subscribe subscribe) : subscribe_(std::move(subscribe)) {}

    /** Calls the handler for every signal from now on, in place of any earlier handler. */
    void start(Task handler) { watch_ = subscribe_(std::move(handler)); }

private:
    Subscribe subscribe_;
    std::unique_ptr<SignalWatch> watch_;
};

} // namespace korvane
