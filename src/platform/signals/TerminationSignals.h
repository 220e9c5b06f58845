#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/queue/Queue.h"

#include <memory>

namespace korvane {

/** A running watch; destroying it, on its queue, ends it. */
class SignalWatch {
public:
    virtual ~SignalWatch() = default;
};

/**
 * Turns the requests to end this process, SIGTERM and SIGINT, into tasks. Made on the main thread
 * before there is any other. From then on SIGPIPE is ignored: a peer that is gone is an error of
 * the write, not our end.
 */
class TerminationSignals {
public:
    TerminationSignals();

    /** Runs the handler on the queue for each request. */
    std::unique_ptr<SignalWatch> watch(SerialQueue& queue, Task handler) const;

private:
    FileDescriptor descriptor_;
};

} // namespace korvane
