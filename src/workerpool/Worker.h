#pragma once

#include "base/Result.h"
#include "event/Queue.h"
#include "workerpool/WorkerFailure.h"
#include "workerpool/WorkerMessage.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

namespace korvane {

/** One worker process, seen from the agent. Used and destroyed on the queue it was started with;
 *  destroying it kills the process. */
class Worker {
public:
    /** Called on the queue, and never from inside of a call to the worker; `ended` is the last. */
    struct Events {
        std::function<void(WorkerMessage)> answered;
        std::function<void(WorkerFailure)> ended;
    };

    virtual ~Worker() = default;

    /** Sends a request; the one before it must have been answered. */
    virtual void send(WorkerMessage request) = 0;

    /** Closes the socket toward the process, which then exits by itself. */
    virtual void release() = 0;

    /** Only `ended` is called after it. */
    virtual void kill() = 0;

    /** True once the process has exited, even if `ended` is still pending. */
    virtual bool hasEnded() const = 0;

    /** How long the process has run on a processor since its start. */
    virtual std::chrono::milliseconds processorTime() const = 0;

    /** Bytes of memory that the process does not share with others. */
    virtual std::size_t memory() const = 0;
};

/** Starts worker processes. */
class WorkerLauncher {
public:
    virtual ~WorkerLauncher() = default;
    virtual Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& queue,
                                                                  Worker::Events events) = 0;
};

} // namespace korvane
