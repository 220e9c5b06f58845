#pragma once

#include "platform/worker/WorkerService.h"

#include <chrono>
#include <utility>
#include <vector>

namespace korvane {

/** Workers that answer at once, as the test says. */
class FakeWorkers final : public WorkerService {
public:
    JobKey makeJob() override { return {++jobs_}; }

    using WorkerService::submit;
    void submit(JobKey /*job*/, WorkerMessage request, std::chrono::milliseconds limit,
                Completion completion) override
    {
        limits.push_back(limit);
        completion(answer(std::move(request)));
    }

    void cancel(JobKey job) override { cancelled.push_back(job); }
    void warmUp() override {}
    std::size_t parallelism() const override { return 2; }

    std::function<WorkerAnswer(WorkerMessage)> answer = [](const WorkerMessage&) {
        return failure(WorkerFailure{WorkerFailure::Kind::crashed, 11});
    };
    /** The time that each request was given. */
    std::vector<std::chrono::milliseconds> limits;
    std::vector<JobKey> cancelled;

private:
    std::uint64_t jobs_ = 0;
};

} // namespace korvane
