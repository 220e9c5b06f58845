#pragma once

#include "event/Queue.h"
#include "event/Subscription.h"

#include <chrono>
#include <initializer_list>
#include <memory>

namespace korvane {

/**
 * Turns what other processes signal to this one into tasks: SIGTERM and SIGINT, which ask it to
 * end, and SIGHUP. Made on the main thread before there is any other; from then on these signals
 * wait until somebody watches for them. SIGPIPE and SIGXFSZ are ignored: a peer that is gone, or a
 * file past its limit, is an error of the write and not our end.
 */
class ProcessSignals {
public:
    ProcessSignals();

    /** Runs the handler on the queue each time one of the signals arrives. */
    [[nodiscard]] std::unique_ptr<Subscription> watch(std::initializer_list<int> signals,
                                                      SerialQueue& queue, Task handler) const;

    /** Ends the process with status 0 after this time, if it has not ended by then, whatever its
     *  threads wait for: one in a call to a file system that does not answer cannot be joined. */
    static void endProcessAfter(std::chrono::microseconds time);
};

} // namespace korvane
