#include "platform/worker/WorkerPool.h"

#include "platform/wire/Frame.h"
#include "platform/worker/JobTurns.h"

#include <map>
#include <optional>
#include <utility>

namespace korvane {

namespace {

using Kind = WorkerFailure::Kind;

/** A request until it is answered; one that is dropped has been stopped. */
class PendingRequest {
public:
    PendingRequest(WorkerMessage message, std::chrono::milliseconds limit,
                   WorkerService::Completion completion)
        : message_(std::move(message)), limit_(limit), completion_(std::move(completion))
    {
    }
    PendingRequest(const PendingRequest&) = delete;
    PendingRequest& operator=(const PendingRequest&) = delete;
    ~PendingRequest() { fail({Kind::stopped}); }

    WorkerMessage takeMessage() { return std::move(message_); }
    bool isTooLarge() const { return !isWithinBounds(message_); }
    std::chrono::milliseconds limit() const { return limit_; }

    void fail(WorkerFailure reason) { complete(failure(reason)); }
    void complete(WorkerAnswer answer)
    {
        const auto completion = std::exchange(completion_, nullptr);
        if (completion) completion(std::move(answer));
    }

private:
    WorkerMessage message_;
    std::chrono::milliseconds limit_;
    WorkerService::Completion completion_;
};

using PendingPointer = std::shared_ptr<PendingRequest>;

} // namespace

/** What happens on the queue. */
class WorkerPool::Core {
public:
    Core(SerialQueue& queue, std::unique_ptr<WorkerLauncher> launcher,
         const WorkerPoolLimits& limits)
        : queue_(queue), launcher_(std::move(launcher)), limits_(limits)
    {
    }

    /** Set on any thread: what is submitted from then on fails. */
    std::atomic<bool> stopped = false;

    void submit(JobKey job, PendingPointer request);
    void cancel(JobKey job);
    void warmUp();
    void stop();

private:
    using WorkerNumber = std::uint64_t;

    struct Slot {
        std::unique_ptr<Worker> worker;
        /** What it works on. */
        PendingPointer request;
        std::size_t served = 0;
        /** It gets no more requests; its end is awaited. */
        bool isLeaving = false;
        /** The end of the request's time, of the idle time or of the time to end by itself. */
        std::unique_ptr<DelayedTask> timer;
    };

    void dispatch();
    Result<WorkerNumber, WorkerFailure> workerToUse();
    Result<WorkerNumber, WorkerFailure> start();
    std::optional<WorkerNumber> findIdle() const;
    std::size_t staying() const;

    void begin(WorkerNumber number, PendingPointer request);
    void answered(WorkerNumber number, WorkerMessage message);
    void timedOut(WorkerNumber number);
    void ended(WorkerNumber number, WorkerFailure reason);
    void letGo(WorkerNumber number);
    bool isWornOut(const Slot& slot) const;
    void setTimer(WorkerNumber number, std::chrono::milliseconds delay,
                  void (Core::*step)(WorkerNumber));
    void kill(WorkerNumber number);

    SerialQueue& queue_;
    std::unique_ptr<WorkerLauncher> launcher_;
    const WorkerPoolLimits limits_;
    JobTurns<PendingPointer> turns_;
    std::map<WorkerNumber, Slot> slots_;
    WorkerNumber latest_ = 0;
};

void WorkerPool::Core::submit(JobKey job, PendingPointer request)
{
    if (stopped) return request->fail({Kind::stopped});
    if (request->isTooLarge()) return request->fail({Kind::tooLarge});
    turns_.push(job, std::move(request));
    dispatch();
}

void WorkerPool::Core::cancel(JobKey job)
{
    for (const PendingPointer& request : turns_.remove(job)) request->fail({Kind::cancelled});
}

void WorkerPool::Core::warmUp()
{
    while (!stopped && staying() < limits_.workers) {
        const auto number = start();
        if (!number) return;
        setTimer(*number, limits_.idle, &Core::letGo);
    }
}

/** Requests fail by being dropped. */
void WorkerPool::Core::stop()
{
    turns_ = {};
    for (auto& [number, slot] : slots_) {
        slot.request.reset();
        slot.worker->kill();
    }
    slots_.clear();
}

/** Gives the requests whose turn it is to workers, as many as there may be. */
void WorkerPool::Core::dispatch()
{
    while (!turns_.empty() && (findIdle() || staying() < limits_.workers)) {
        PendingPointer request = turns_.pop();
        const auto number = workerToUse();
        if (number) {
            begin(*number, std::move(request));
        } else {
            request->fail(number.error());
        }
    }
}

Result<WorkerPool::Core::WorkerNumber, WorkerFailure> WorkerPool::Core::workerToUse()
{
    if (const auto idle = findIdle()) return *idle;
    return start();
}

Result<WorkerPool::Core::WorkerNumber, WorkerFailure> WorkerPool::Core::start()
{
    const WorkerNumber number = ++latest_;
    auto worker = launcher_->launch(
        queue_,
        {.answered = [this, number](WorkerMessage answer) { answered(number, std::move(answer)); },
         .ended = [this, number](WorkerFailure reason) { ended(number, reason); }});
    if (!worker) return failure(worker.error());
    slots_[number].worker = *std::move(worker);
    return number;
}

std::optional<WorkerPool::Core::WorkerNumber> WorkerPool::Core::findIdle() const
{
    const auto idle = std::ranges::find_if(
        slots_, [](const auto& entry) { return !entry.second.isLeaving && !entry.second.request; });
    if (idle == slots_.end()) return std::nullopt;
    return idle->first;
}

/** Those on their way out do not count: they do nothing any more. */
std::size_t WorkerPool::Core::staying() const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(slots_, [](const auto& entry) { return !entry.second.isLeaving; }));
}

void WorkerPool::Core::begin(WorkerNumber number, PendingPointer request)
{
    Slot& slot = slots_.at(number);
    slot.request = std::move(request);
    setTimer(number, slot.request->limit(), &Core::timedOut);
    slot.worker->send(slot.request->takeMessage());
}

void WorkerPool::Core::answered(WorkerNumber number, WorkerMessage message)
{
    Slot& slot = slots_.at(number);
    const PendingPointer request = std::exchange(slot.request, nullptr);
    ++slot.served;
    if (isWornOut(slot)) {
        letGo(number);
    } else {
        setTimer(number, limits_.idle, &Core::letGo);
    }
    if (message.code == 0) {
        request->complete(std::move(message));
    } else {
        request->fail({Kind::refused, message.code});
    }
    dispatch();
}

void WorkerPool::Core::timedOut(WorkerNumber number)
{
    Slot& slot = slots_.at(number);
    slot.isLeaving = true;
    slot.worker->kill();
    std::exchange(slot.request, nullptr)->fail({Kind::timedOut});
    dispatch();
}

void WorkerPool::Core::ended(WorkerNumber number, WorkerFailure reason)
{
    const auto entry = slots_.extract(number);
    if (entry.mapped().request) entry.mapped().request->fail(reason);
    dispatch();
}

void WorkerPool::Core::letGo(WorkerNumber number)
{
    Slot& slot = slots_.at(number);
    slot.isLeaving = true;
    slot.worker->release();
    setTimer(number, limits_.grace, &Core::kill);
}

void WorkerPool::Core::kill(WorkerNumber number)
{
    slots_.at(number).worker->kill();
}

bool WorkerPool::Core::isWornOut(const Slot& slot) const
{
    return slot.served >= limits_.requests || slot.worker->memory() > limits_.memory;
}

/** The timer is the slot's, and gone with it; so neither can be missing when it fires. */
void WorkerPool::Core::setTimer(WorkerNumber number, std::chrono::milliseconds delay,
                                void (Core::*step)(WorkerNumber))
{
    slots_.at(number).timer = queue_.after(delay, [this, number, step] { (this->*step)(number); });
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

void WorkerPool::submit(JobKey job, WorkerMessage request, std::chrono::milliseconds limit,
                        Completion completion)
{
    auto pending =
        std::make_shared<PendingRequest>(std::move(request), limit, std::move(completion));
    if (core_->stopped) return;
    // A queue that has ended drops the task, and the request fails with it.
    queue_->async([core = core_, job, pending = std::move(pending)]() mutable {
        core->submit(job, std::move(pending));
    });
}

void WorkerPool::cancel(JobKey job)
{
    queue_->async([core = core_, job] { core->cancel(job); });
}

void WorkerPool::warmUp()
{
    queue_->async([core = core_] { core->warmUp(); });
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
