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
    void submit(JobKey /*job*/, WorkerRequest request, Completion completion) override
    {
        if (request.workTime) request.workTime->add(std::chrono::seconds(1));
        completion(answer(std::move(request.message)));
    }

    void end(JobKey job, std::uint16_t farewell) override { ended.emplace_back(job, farewell); }
    std::size_t parallelism() const override { return 2; }

    std::function<WorkerAnswer(WorkerMessage)> answer = [](const WorkerMessage&) {
        return failure(WorkerFailure{WorkerFailure::Kind::crashed, 11});
    };
    /** The jobs, and how their workers were told. */
    std::vector<std::pair<JobKey, std::uint16_t>> ended;

private:
    std::uint64_t jobs_ = 0;
};

} // namespace korvane
