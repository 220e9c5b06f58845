#pragma once

#include "base/Result.h"
#include "event/Queue.h"
#include "workerpool/PendingRequest.h"
#include "workerpool/Worker.h"
#include "workerpool/WorkerPoolLimits.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace korvane {

/** One worker of a pool, from its start to its end, and what it is doing. Used on the pool's queue
 *  alone. */
class WorkerSlot {
public:
    using Time = std::chrono::steady_clock::time_point;
    using milliseconds = std::chrono::milliseconds;

    /** A request that the worker does not work on any more. */
    struct Outcome {
        PendingPointer request;
        /** What its job is charged for is the time from then on: since it began or, where other
         *  programs kept the worker from running, as long as its limit. */
        Time chargedFrom;
        WorkerAnswer answer;
    };

    /** Called on the queue, and never from inside of a call to the slot. */
    struct Events {
        /** The request was answered or took too long; without one, the worker has released the
         *  document that it held. */
        std::function<void(std::optional<Outcome>)> finished;
        /** The worker has ended, with the request that it was working on, if any. The last one: the
         *  slot may be destroyed in it. */
        std::function<void(std::optional<Outcome>)> ended;
    };

    WorkerSlot(SerialQueue& queue, const WorkerPoolLimits& limits, Events events);
    WorkerSlot(const WorkerSlot&) = delete;
    WorkerSlot& operator=(const WorkerSlot&) = delete;
    ~WorkerSlot() = default;

    /** Starts the worker, which is idle then; called first, and once. */
    Result<void, WorkerFailure> launch(WorkerLauncher& launcher);

    /** Whether it can be sent a request; a worker that has exited cannot, even if `ended` is still
     *  to come. */
    bool isIdle();

    /** Whether it will be idle again. */
    bool isActive() const { return !std::holds_alternative<Retiring>(state_); }

    /** How much of what a request needs it probably holds: more is better. */
    int affinity(const PendingRequest& request) const;

    /** What it works on; null for nothing. */
    const PendingRequest* request() const;

    /** Has the worker, which is idle, carry out a request. */
    void begin(PendingPointer request, milliseconds limit);

    /** What it works on may take no more than so much from now on. */
    void shortenLimit(milliseconds limit);

    /** Kills the worker, and gives back what it was working on, if anything. */
    std::optional<Outcome> cancel(WorkerFailure reason);

    /** Sends `operation` as soon as the worker is idle if it holds a document of this job. */
    void release(JobKey job, std::uint16_t operation);

private:
    using Timer = std::unique_ptr<DelayedTask>;

    /** What a request may take, in time that the worker runs on a processor: on a busy machine
     *  it takes longer, `maxStretch` times at most. */
    struct Limit {
        milliseconds duration;
        Time since;
        /** What the worker had run until then. */
        milliseconds runBefore;
        /** When it is looked at next. */
        Time deadline;
    };

    struct Idle {
        /** Of the idle time. */
        Timer timer;
    };
    struct Busy {
        PendingPointer request;
        Time started;
        Limit limit;
        Timer timer;
        /** To be sent afterwards. */
        std::optional<std::uint16_t> releaseOperation;
    };
    struct Releasing {
        Timer timer;
    };
    /** It gets no more requests; `ended` is pending. */
    struct Retiring {
        /** Of the grace time; none when it was killed. */
        Timer timer;
    };

    /** What its latest request left in it. */
    struct Held {
        JobKey job;
        std::optional<std::uint64_t> page;
    };

    Outcome takeRequest(Busy& busy, WorkerAnswer answer) const;
    void answered(WorkerMessage message);
    void setLimit(Busy& busy, milliseconds limit);
    void checkLimit();
    void ended(WorkerFailure reason);
    bool shouldRetire() const;
    void becomeIdle();
    void sendRelease(std::uint16_t operation);
    void retire();
    void kill();
    Timer after(milliseconds delay, void (WorkerSlot::*step)());

    SerialQueue& queue_;
    const WorkerPoolLimits limits_;
    Events events_;
    std::unique_ptr<Worker> worker_;
    std::size_t served_ = 0;
    std::optional<Held> held_;
    std::variant<Idle, Busy, Releasing, Retiring> state_;
};

} // namespace korvane
