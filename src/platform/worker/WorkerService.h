#pragma once

#include "platform/base/Result.h"
#include "platform/wire/WorkerMessage.h"
#include "platform/worker/WorkerFailure.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>

namespace korvane {

/** Whose request it is: jobs take turns, and are cancelled as a whole. */
struct JobKey {
    std::uint64_t number = 0;

    friend bool operator<(JobKey left, JobKey right) { return left.number < right.number; }
    friend bool operator==(JobKey left, JobKey right) = default;
};

using WorkerAnswer = Result<WorkerMessage, WorkerFailure>;

/** Work on documents in processes that may fail without harm. Called on any thread. */
class WorkerService {
public:
    using Completion = std::function<void(WorkerAnswer)>;

    virtual ~WorkerService() = default;

    /** A key that no other job has. */
    virtual JobKey makeJob() = 0;

    /**
     * Has a worker carry out `request`, and calls `completion` once, on the service's own queue or,
     * when the service has ended, on the calling thread; it must not block. `limit` counts from
     * the moment a worker has begun. Requests of one job begin in their order, those of different
     * jobs take turns.
     */
    virtual void submit(JobKey job, WorkerMessage request, std::chrono::milliseconds limit,
                        Completion completion) = 0;

    /** The same, to be waited for; not on a serial queue. It is always fulfilled. */
    std::future<WorkerAnswer> submit(JobKey job, WorkerMessage request,
                                     std::chrono::milliseconds limit);

    /** The job's requests whose turn has not come fail. */
    virtual void cancel(JobKey job) = 0;

    /** Starts workers ahead of the requests to come. */
    virtual void warmUp() = 0;

    /** How many requests can be worked on at the same time. */
    virtual std::size_t parallelism() const = 0;
};

} // namespace korvane
