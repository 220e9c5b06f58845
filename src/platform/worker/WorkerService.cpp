#include "platform/worker/WorkerService.h"

#include <utility>

namespace korvane {

void WorkerService::submit(JobKey job, WorkerMessage request, std::chrono::milliseconds limit,
                           Completion completion)
{
    submit(job, {.message = std::move(request), .limit = limit, .granted = limit},
           std::move(completion));
}

std::future<WorkerAnswer> WorkerService::submit(JobKey job, WorkerMessage request,
                                                std::chrono::milliseconds limit)
{
    auto promise = std::make_shared<std::promise<WorkerAnswer>>();
    std::future<WorkerAnswer> answer = promise->get_future();
    submit(job, std::move(request), limit, [promise = std::move(promise)](WorkerAnswer result) {
        promise->set_value(std::move(result));
    });
    return answer;
}

} // namespace korvane
