#pragma once

#include "recognition/RequestCoding.h"
#include "workerpool/WorkerService.h"

#include <utility>

namespace korvane {

/** Sends a request of DocumentRequests.h to a worker, in the way that `terms`, whose message is not
 *  used, says; the completion is called as WorkerService::submit calls its own. */
template <typename Request>
void call(WorkerService& workers, JobKey job, const Request& request, WorkerRequest terms,
          DocumentCompletion<typename Request::Answer> completion)
{
    terms.message = encodeRequest(request);
    workers.submit(job, std::move(terms),
                   [completion = std::move(completion)](WorkerAnswer answer) {
                       completion(decodeAnswer<typename Request::Answer>(std::move(answer)));
                   });
}

} // namespace korvane
