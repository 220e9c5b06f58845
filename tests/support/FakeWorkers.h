#pragma once

#include "workerpool/WorkerService.h"

#include <cstdint>
#include <functional>
#include <new>
#include <utility>
#include <vector>

namespace korvane {

/** Workers that answer when the test says so. */
class FakeWorkers final : public WorkerService {
public:
    struct Submitted {
        JobKey job;
        WorkerRequest request;
        Completion completion;
    };

    JobKey makeJob() override { return {++jobs_}; }

    using WorkerService::submit;
    void submit(JobKey job, WorkerRequest request, Completion completion) override
    {
        if (std::exchange(isOutOfMemory, false)) throw std::bad_alloc();
        if (const auto task = std::exchange(beforeSubmit, nullptr)) task();
        submitted.push_back({job, std::move(request), std::move(completion)});
    }

    void end(JobKey job, std::uint16_t releaseOperation) override
    {
        ended.emplace_back(job, releaseOperation);
    }
    std::size_t parallelism() const override { return 2; }

    /** Takes the oldest request that has no answer yet. */
    Submitted take()
    {
        Submitted oldest = std::move(submitted.at(0));
        submitted.erase(submitted.begin());
        return oldest;
    }

    /** Whether the next request is refused for want of memory. */
    bool isOutOfMemory = false;
    /** Called when the next request arrives. */
    std::function<void()> beforeSubmit;
    /** What has no answer yet. */
    std::vector<Submitted> submitted;
    /** The jobs, and how their workers were told. */
    std::vector<std::pair<JobKey, std::uint16_t>> ended;

private:
    std::uint64_t jobs_ = 0;
};

} // namespace korvane
