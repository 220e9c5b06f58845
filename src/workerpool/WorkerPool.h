#pragma once

#include "event/Queue.h"
#include "workerpool/Worker.h"
#include "workerpool/WorkerPoolLimits.h"
#include "workerpool/WorkerService.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace korvane {

/**
 * As many worker processes as there are cores, started when there are requests, one request at a
 * time each, and retired when idle. A process that dies costs the request it was working on, if a
 * new one dies of it as well. A job gets no further when too many of its requests fail (see
 * JobBudget). State lives on a serial queue of its own.
 */
class WorkerPool final : public WorkerService {
public:
    WorkerPool(Queues& queues, std::unique_ptr<WorkerLauncher> launcher,
               WorkerPoolLimits limits = {});
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool() override;

    JobKey makeJob() override;
    using WorkerService::submit;
    void submit(JobKey job, WorkerRequest request, Completion completion) override;
    void end(JobKey job, std::uint16_t releaseOperation) override;
    std::size_t parallelism() const override;

    /** Every request fails at once, also those submitted later, and the workers are killed. */
    void stop();

private:
    class Core;

    const WorkerPoolLimits limits_;
    std::shared_ptr<SerialQueue> queue_;
    std::shared_ptr<Core> core_;
    std::atomic<std::uint64_t> jobs_ = 0;
};

} // namespace korvane
