#pragma once

#include "platform/queue/Queue.h"
#include "platform/worker/Worker.h"
#include "platform/worker/WorkerService.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>

namespace korvane {

struct WorkerPoolLimits {
    std::size_t workers = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
    /** Without work for so long, a worker is let go. */
    std::chrono::milliseconds idle = std::chrono::seconds(60);
    /** And killed when it has not ended so much later. */
    std::chrono::milliseconds grace = std::chrono::seconds(5);
    /** A worker that has served so many requests or holds so many bytes is replaced. */
    std::size_t requests = 10'000;
    std::size_t memory = std::size_t{350} << 20;
};

/**
 * As many worker processes as there are cores, started when there is work, one request at a time
 * each, and let go when there has been none for a while. A process that fails costs the request it
 * was working on; the next request gets a new one. A job of which too much fails is given up. State
 * lives on a serial queue of its own.
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
    void end(JobKey job, std::uint16_t farewell) override;
    std::size_t parallelism() const override;

    /** Every request fails at once, also those still to come, and the workers are killed. */
    void stop();

private:
    class Core;

    const WorkerPoolLimits limits_;
    std::shared_ptr<SerialQueue> queue_;
    std::shared_ptr<Core> core_;
    std::atomic<std::uint64_t> jobs_ = 0;
};

} // namespace korvane
