#pragma once

#include "base/Result.h"
#include "workerpool/WorkerFailure.h"
#include "workerpool/WorkerMessage.h"

#include <chrono>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

namespace korvane {

/** The job that a request belongs to: jobs share the workers evenly, and end as a whole. */
struct JobKey {
    std::uint64_t number = 0;

    friend bool operator<(JobKey left, JobKey right) { return left.number < right.number; }
    friend bool operator==(JobKey, JobKey) = default;
};

struct WorkerRequest {
    WorkerMessage message;
    /** What it may take from the moment a worker has begun, in time that the worker runs on a
     *  processor. */
    std::chrono::milliseconds limit{0};
    /** What it may take even when its job has lost time (see JobBudget), which otherwise shortens
     *  the limit. Without any, it fails as `overBudget` once the job's budget is used up. */
    std::chrono::milliseconds reservedTime{0};
    /** The page that it recognizes, which has a budget of its own; nothing for other requests. */
    std::optional<std::uint64_t> page;
    /** Called before a second worker is sent the request, on the service's queue; false when it
     *  cannot be carried out once more. */
    std::function<bool()> beforeRetry;
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
     * when the service has ended, on the calling thread; it must not block. Requests of one job
     * begin in their order, those of different jobs in turn. One whose worker dies is sent to a
     * new worker once, and fails when that dies as well.
     */
    virtual void submit(JobKey job, WorkerRequest request, Completion completion) = 0;

    /** The same for a request whose limit does not depend on other requests' failures. */
    void submit(JobKey job, WorkerMessage request, std::chrono::milliseconds limit,
                Completion completion)
    {
        submit(job, {.message = std::move(request), .limit = limit, .reservedTime = limit},
               std::move(completion));
    }

    /** The job's unfinished requests fail as cancelled. Workers that hold something for it are sent
     *  `releaseOperation`, which has neither parameters nor a result. */
    virtual void end(JobKey job, std::uint16_t releaseOperation) = 0;

    /** How many requests can be worked on at the same time. */
    virtual std::size_t parallelism() const = 0;
};

} // namespace korvane
