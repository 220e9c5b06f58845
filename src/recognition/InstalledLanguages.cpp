#include "recognition/InstalledLanguages.h"

#include "recognition/WorkerCall.h"

#include <chrono>
#include <exception>
#include <utility>

namespace korvane {

namespace {

constexpr std::chrono::milliseconds limit = std::chrono::seconds(20);

} // namespace

void InstalledLanguages::get(WorkerService& workers, DocumentCompletion<Names> completion)
{
    std::unique_lock lock(mutex_);
    if (const Names* known = std::get_if<Names>(&state_)) {
        const Names names = *known;
        lock.unlock();
        return completion(names);
    }
    if (Asked* asked = std::get_if<Asked>(&state_)) {
        asked->waiting.push_back(std::move(completion));
        return;
    }
    Asked asked;
    asked.waiting.push_back(std::move(completion));
    state_ = std::move(asked);
    lock.unlock();
    try {
        ask(workers);
    } catch (const std::exception&) { // std::bad_alloc: later documents ask again
        answered(failure(workerError({WorkerFailure::Kind::outOfMemory})));
    }
}

void InstalledLanguages::ask(WorkerService& workers)
{
    call(workers, workers.makeJob(), requests::ListLanguages(),
         {.limit = limit, .reservedTime = limit},
         [self = shared_from_this()](DocumentAnswer<requests::ListLanguages::Answer> answer) {
             self->answered(std::move(answer).map(
                 [](requests::ListLanguages::Answer&& list) { return std::move(list.languages); }));
         });
}

void InstalledLanguages::answered(const DocumentAnswer<Names>& names)
{
    std::unique_lock lock(mutex_);
    // A request that is dropped is answered, and may throw as well.
    if (!std::holds_alternative<Asked>(state_)) return;
    const Asked asked = std::move(std::get<Asked>(state_));
    if (names && !names->empty()) {
        state_ = *names;
    } else {
        state_ = Unknown();
    }
    lock.unlock();
    for (const auto& completion : asked.waiting) completion(names);
}

} // namespace korvane
