#pragma once

#include "workerpool/WorkerService.h"

#include <chrono>
#include <memory>

namespace korvane {

/** A request until it is answered; destroying it fails it as stopped. */
class PendingRequest {
public:
    PendingRequest(JobKey job, WorkerRequest request, WorkerService::Completion completion);
    PendingRequest(const PendingRequest&) = delete;
    PendingRequest& operator=(const PendingRequest&) = delete;
    ~PendingRequest();

    JobKey job() const { return job_; }
    const WorkerRequest& request() const { return request_; }

    /** What workers have spent on it. */
    std::chrono::milliseconds workTime() const { return workTime_; }
    void addWorkTime(std::chrono::milliseconds time) { workTime_ += time; }

    /** Prepares it for a second worker after the first has died; false when there has been a second
     *  one or the request cannot be carried out once more. */
    bool prepareRetry();

    /** Calls the completion, unless it has been called. One that throws, std::bad_alloc perhaps,
     *  does not affect other requests. */
    void complete(WorkerAnswer answer) noexcept;
    void fail(WorkerFailure reason) noexcept { complete(failure(reason)); }

private:
    JobKey job_;
    WorkerRequest request_;
    WorkerService::Completion completion_;
    std::chrono::milliseconds workTime_{0};
    bool wasRetried_ = false;
};

using PendingPointer = std::shared_ptr<PendingRequest>;

} // namespace korvane
