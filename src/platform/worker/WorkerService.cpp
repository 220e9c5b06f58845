#include "platform/worker/WorkerService.h"

#include <memory>
#include <utility>

namespace korvane {

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
