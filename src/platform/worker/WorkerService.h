#pragma once

#include "platform/base/Result.h"
#include "platform/wire/WorkerMessage.h"
#include "platform/worker/WorkTime.h"
#include "platform/worker/WorkerFailure.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>

namespace korvane {

/** Whose request it is: jobs take turns, and end as a whole. */
struct JobKey {
    std::uint64_t number = 0;

    friend bool operator<(JobKey left, JobKey right) { return left.number < right.number; }
    friend bool operator==(JobKey left, JobKey right) = default;
};

struct WorkerRequest {
    WorkerMessage message;
    /** What it may take from the moment a worker has begun. */
    std::chrono::milliseconds limit{0};
    /** What it may take even when its job has wasted time (see JobPatience), which otherwise
     *  shortens the limit. Without any, it fails as cancelled once the job is given up. */
    std::chrono::milliseconds granted{0};
    /** Where the time is added that it took, before it is completed. */
    std::shared_ptr<WorkTime> workTime;
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
     * begin in their order, those of different jobs take turns.
     */
    virtual void submit(JobKey job, WorkerRequest request, Completion completion) = 0;

    /** The same for a request whose limit does not depend on what became of others. */
    void submit(JobKey job, WorkerMessage request, std::chrono::milliseconds limit,
                Completion completion);

    /** The same, to be waited for; not on a serial queue. It is always fulfilled. */
    std::future<WorkerAnswer> submit(JobKey job, WorkerMessage request,
                                     std::chrono::milliseconds limit);

    /** What is left of the job's requests fails. Workers that still hold something for it are asked
     *  for the operation `farewell`, which has neither parameters nor a result. */
    virtual void end(JobKey job, std::uint16_t farewell) = 0;

    /** How many requests can be worked on at the same time. */
    virtual std::size_t parallelism() const = 0;
};

} // namespace korvane
