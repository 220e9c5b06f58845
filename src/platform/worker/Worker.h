#pragma once

#include "platform/base/Result.h"
#include "platform/queue/Queue.h"
#include "platform/wire/WorkerMessage.h"
#include "platform/worker/WorkerFailure.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace korvane {

/** One worker process, seen from the agent. Used and destroyed on the queue it was started with;
 *  destroying it kills the process. */
class Worker {
public:
    /** Called on the queue, and never from inside of a call to the worker. After `ended` nothing
     *  is called any more. */
    struct Events {
        std::function<void(WorkerMessage)> answered;
        std::function<void(WorkerFailure)> ended;
    };

    virtual ~Worker() = default;

    /** Sends a request; the one before it must have been answered. */
    virtual void send(WorkerMessage request) = 0;

    /** Tells the process that there is no more work; it then ends by itself. */
    virtual void release() = 0;

    /** Only `ended` comes after it. */
    virtual void kill() = 0;

    /** True when the process is no more, even if `ended` has not been called yet. */
    virtual bool hasEnded() const = 0;

    /** Bytes of memory that the process holds for itself. */
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
