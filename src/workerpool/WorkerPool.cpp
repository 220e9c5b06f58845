#include "workerpool/WorkerPool.h"

#include "workerpool/FairQueue.h"
#include "workerpool/Frame.h"
#include "workerpool/JobBudget.h"
#include "workerpool/PendingRequest.h"
#include "workerpool/WorkerSlot.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace korvane {

namespace {

using Kind = WorkerFailure::Kind;
using Outcome = WorkerSlot::Outcome;
using std::chrono::milliseconds;

} // namespace

/** What happens on the queue. */
class WorkerPool::Core {
public:
    Core(SerialQueue& queue, std::unique_ptr<WorkerLauncher> launcher,
         const WorkerPoolLimits& limits)
        : queue_(queue), launcher_(std::move(launcher)), limits_(limits)
    {
    }

    /** Set on any thread: what is submitted afterwards fails. */
    std::atomic<bool> stopped = false;

    void submit(PendingPointer request);
    void end(JobKey job, std::uint16_t releaseOperation);
    void stop();

private:
    using SlotNumber = std::uint64_t;

    void dispatch();
    bool hasFreeWorker();
    void begin(const PendingPointer& request);
    WorkerSlot* idleSlot(const PendingRequest& request);
    Result<WorkerSlot*, WorkerFailure> launch();

    void finished(std::optional<Outcome> outcome);
    void ended(SlotNumber number, std::optional<Outcome> outcome);
    bool retry(const PendingPointer& request);
    void account(const Outcome& outcome);
    void complete(const PendingPointer& request, WorkerAnswer answer);
    void cancel(WorkerSlot& slot, WorkerFailure reason);

    Result<milliseconds, WorkerFailure> limitOf(const PendingRequest& request) const;
    void enforceBudget(JobKey job);

    SerialQueue& queue_;
    std::unique_ptr<WorkerLauncher> launcher_;
    const WorkerPoolLimits limits_;
    FairQueue<PendingPointer> waiting_;
    std::map<JobKey, JobBudget> budgets_;
    std::map<SlotNumber, std::unique_ptr<WorkerSlot>> slots_;
    SlotNumber latestSlot_ = 0;
};

void WorkerPool::Core::submit(PendingPointer request)
{
    if (stopped) return request->fail({Kind::stopped});
    if (!isWithinBounds(request->request().message)) return request->fail({Kind::tooLarge});
    if (const auto limit = limitOf(*request); !limit) return request->fail(limit.error());
    const JobKey job = request->job();
    waiting_.push(job, std::move(request));
    dispatch();
}

void WorkerPool::Core::end(JobKey job, std::uint16_t releaseOperation)
{
    const auto removed = waiting_.remove(job);
    for (const auto& [number, slot] : slots_) {
        if (slot->request() && slot->request()->job() == job) cancel(*slot, {Kind::cancelled});
        slot->release(job, releaseOperation);
    }
    budgets_.erase(job);
    for (const PendingPointer& request : removed) request->fail({Kind::cancelled});
    dispatch();
}

/** Waiting requests fail by being destroyed. */
void WorkerPool::Core::stop()
{
    waiting_ = {};
    for (const auto& [number, slot] : slots_) static_cast<void>(slot->cancel({Kind::stopped}));
    slots_.clear();
}

/** Gives waiting requests to idle workers, starting as many as the limits allow. */
void WorkerPool::Core::dispatch()
{
    while (!waiting_.empty() && hasFreeWorker()) begin(waiting_.pop());
}

bool WorkerPool::Core::hasFreeWorker()
{
    std::size_t active = 0;
    for (const auto& [number, slot] : slots_) {
        if (slot->isIdle()) return true;
        if (slot->isActive()) ++active;
    }
    return active < limits_.workers;
}

void WorkerPool::Core::begin(const PendingPointer& request)
{
    const auto limit = limitOf(*request);
    if (!limit) return complete(request, failure(limit.error()));
    if (WorkerSlot* slot = idleSlot(*request)) return slot->begin(request, *limit);
    const auto slot = launch();
    if (!slot) return complete(request, failure(slot.error()));
    (*slot)->begin(request, *limit);
}

/** The one that has most of what the request needs; null when there is none. */
WorkerSlot* WorkerPool::Core::idleSlot(const PendingRequest& request)
{
    WorkerSlot* best = nullptr;
    for (const auto& [number, slot] : slots_) {
        if (!slot->isIdle()) continue;
        if (!best || slot->affinity(request) > best->affinity(request)) best = slot.get();
    }
    return best;
}

Result<WorkerSlot*, WorkerFailure> WorkerPool::Core::launch()
{
    const SlotNumber number = ++latestSlot_;
    auto slot = std::make_unique<WorkerSlot>(
        queue_, limits_,
        WorkerSlot::Events{
            .finished = [this](std::optional<Outcome> outcome) { finished(std::move(outcome)); },
            .ended = [this, number](
                         std::optional<Outcome> outcome) { ended(number, std::move(outcome)); }});
    if (const auto launched = slot->launch(*launcher_); !launched) return failure(launched.error());
    return (slots_[number] = std::move(slot)).get();
}

void WorkerPool::Core::finished(std::optional<Outcome> outcome)
{
    if (outcome) {
        account(*outcome);
        complete(outcome->request, std::move(outcome->answer));
    }
    dispatch();
}

void WorkerPool::Core::ended(SlotNumber number, std::optional<Outcome> outcome)
{
    const auto slot = slots_.extract(number);
    if (outcome) {
        account(*outcome);
        if (!retry(outcome->request)) complete(outcome->request, std::move(outcome->answer));
    }
    dispatch();
}

/** The new worker takes the place of the one that died, and the request keeps its turn. */
bool WorkerPool::Core::retry(const PendingPointer& request)
{
    const auto limit = limitOf(*request);
    if (!limit || !request->prepareRetry()) return false;
    const auto slot = launch();
    if (!slot) return false;
    (*slot)->begin(request, *limit);
    return true;
}

void WorkerPool::Core::account(const Outcome& outcome)
{
    const auto now = queue_.now();
    const WorkerRequest& request = outcome.request->request();
    if (!JobBudget::concerns(request)) return;
    const JobKey job = outcome.request->job();
    if (outcome.answer) {
        budgets_[job].noteSuccess(request, outcome.chargedFrom, now);
    } else if (outcome.answer.error().kind != Kind::refused) {
        budgets_[job].noteFailure(request, outcome.chargedFrom, now);
        enforceBudget(job);
    }
}

/** For a request that had its turn. */
void WorkerPool::Core::complete(const PendingPointer& request, WorkerAnswer answer)
{
    waiting_.finished(request->job(), request->workTime());
    request->complete(std::move(answer));
}

/** What the slot works on fails, and its worker is killed. */
void WorkerPool::Core::cancel(WorkerSlot& slot, WorkerFailure reason)
{
    if (auto outcome = slot.cancel(reason)) complete(outcome->request, std::move(outcome->answer));
}

Result<milliseconds, WorkerFailure> WorkerPool::Core::limitOf(const PendingRequest& request) const
{
    const auto budget = budgets_.find(request.job());
    return budget == budgets_.end() ? request.request().limit
                                    : budget->second.limitOf(request.request());
}

/** The job's running requests get no more than what its budget has left; those that get nothing
 *  fail, and so do those that wait. */
void WorkerPool::Core::enforceBudget(JobKey job)
{
    for (const auto& [number, slot] : slots_) {
        if (!slot->request() || slot->request()->job() != job) continue;
        const auto limit = limitOf(*slot->request());
        if (limit) {
            slot->shortenLimit(*limit);
        } else {
            cancel(*slot, limit.error());
        }
    }
    for (PendingPointer& request : waiting_.remove(job)) {
        if (const auto limit = limitOf(*request); !limit) {
            request->fail(limit.error());
        } else {
            waiting_.push(job, std::move(request));
        }
    }
}

WorkerPool::WorkerPool(Queues& queues, std::unique_ptr<WorkerLauncher> launcher,
                       WorkerPoolLimits limits)
    : limits_(limits), queue_(queues.makeSerial("workers")),
      core_(std::make_shared<Core>(*queue_, std::move(launcher), limits))
{
}

WorkerPool::~WorkerPool()
{
    core_->stopped = true;
    queue_->sync([this] { core_->stop(); });
}

JobKey WorkerPool::makeJob()
{
    return {++jobs_};
}

void WorkerPool::submit(JobKey job, WorkerRequest request, Completion completion)
{
    auto pending = std::make_shared<PendingRequest>(job, std::move(request), std::move(completion));
    if (core_->stopped) return;
    // A queue that has ended drops the task, and the request fails with it.
    queue_->async([core = core_, pending = std::move(pending)]() mutable {
        core->submit(std::move(pending));
    });
}

void WorkerPool::end(JobKey job, std::uint16_t releaseOperation)
{
    queue_->async([core = core_, job, releaseOperation] { core->end(job, releaseOperation); });
}

std::size_t WorkerPool::parallelism() const
{
    return limits_.workers;
}

void WorkerPool::stop()
{
    core_->stopped = true;
    queue_->async([core = core_] { core->stop(); });
}

} // namespace korvane
