#include "platform/worker/WorkerPool.h"

#include "platform/wire/Frame.h"
#include "platform/worker/JobPatience.h"
#include "platform/worker/JobTurns.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace korvane {

namespace {

using Kind = WorkerFailure::Kind;
using Time = std::chrono::steady_clock::time_point;
using std::chrono::milliseconds;

/** Letting go of something takes a moment. */
constexpr milliseconds farewellLimit = std::chrono::seconds(2);

/** A request until it is answered; one that is dropped has been stopped. */
class PendingRequest {
public:
    PendingRequest(JobKey job, WorkerRequest request, WorkerService::Completion completion)
        : job_(job), request_(std::move(request)), completion_(std::move(completion))
    {
    }
    PendingRequest(const PendingRequest&) = delete;
    PendingRequest& operator=(const PendingRequest&) = delete;
    ~PendingRequest() { fail({Kind::stopped}); }

    JobKey job() const { return job_; }
    WorkerMessage takeMessage() { return std::move(request_.message); }
    bool canBeSent() const { return isWithinBounds(request_.message); }
    /** Whether it is given up with its job, and counts for that. */
    bool isShared() const { return request_.granted < request_.limit; }
    bool isGranted() const { return request_.granted > milliseconds(0); }
    milliseconds limit() const { return request_.limit; }
    /** What it may take when its job has so much left. */
    milliseconds limitWith(milliseconds left) const
    {
        return std::clamp(left, request_.granted, request_.limit);
    }

    void tookTime(milliseconds time)
    {
        if (request_.workTime) request_.workTime->add(time);
    }
    void fail(WorkerFailure reason) { complete(failure(reason)); }
    /** A completion that throws, for want of memory perhaps, keeps nobody else from theirs. */
    void complete(WorkerAnswer answer) noexcept
    {
        try {
            const auto completion = std::exchange(completion_, nullptr);
            if (completion) completion(std::move(answer));
        } catch (...) { // NOLINT(bugprone-empty-catch): who asked has nothing to be told
        }
    }

private:
    JobKey job_;
    WorkerRequest request_;
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

    void submit(PendingPointer request);
    void end(JobKey job, std::uint16_t farewell);
    void stop();

private:
    using WorkerNumber = std::uint64_t;

    struct Slot {
        std::unique_ptr<Worker> worker;
        /** What it works on, from when and until when at most. */
        PendingPointer request;
        Time begun;
        Time deadline;
        std::size_t served = 0;
        /** It gets no more requests; its end is awaited. */
        bool isLeaving = false;
        /** The job whose document it probably holds. */
        std::optional<JobKey> holdsFor;
        /** What to ask it for once it is done, now that the job has ended. */
        std::optional<std::uint16_t> farewell;
        /** The end of the request's time, of the idle time or of the time to end by itself. */
        std::unique_ptr<DelayedTask> timer;

        bool isIdle() const { return !isLeaving && !request; }
    };

    void dispatch();
    Result<WorkerNumber, WorkerFailure> workerToUse();
    Result<WorkerNumber, WorkerFailure> start();
    std::optional<WorkerNumber> findIdle();
    std::size_t staying() const;

    void begin(WorkerNumber number, PendingPointer request);
    void work(WorkerNumber number, PendingPointer request, milliseconds limit);
    PendingPointer takeRequest(Slot& slot);
    void answered(WorkerNumber number, WorkerMessage message);
    void timedOut(WorkerNumber number);
    void ended(WorkerNumber number, WorkerFailure reason);
    void letGo(WorkerNumber number);
    bool isWornOut(const Slot& slot) const;
    void setTimer(WorkerNumber number, milliseconds delay, void (Core::*step)(WorkerNumber));
    void kill(WorkerNumber number);

    void noteFailure(const PendingRequest& request, Time begun, bool wasHanging);
    void hurry(JobKey job, milliseconds left);
    bool isGivenUp(const PendingRequest& request) const;
    void giveUp(JobKey job);
    void abandon(Slot& slot, WorkerFailure reason);
    void sayFarewell(WorkerNumber number);

    SerialQueue& queue_;
    std::unique_ptr<WorkerLauncher> launcher_;
    const WorkerPoolLimits limits_;
    JobTurns<PendingPointer> turns_;
    /** The jobs that have wasted time and not ended. */
    std::map<JobKey, JobPatience> patience_;
    std::map<WorkerNumber, Slot> slots_;
    WorkerNumber latest_ = 0;
};

void WorkerPool::Core::submit(PendingPointer request)
{
    if (stopped) return request->fail({Kind::stopped});
    if (!request->canBeSent()) return request->fail({Kind::tooLarge});
    if (isGivenUp(*request)) return request->fail({Kind::cancelled});
    const JobKey job = request->job();
    turns_.push(job, std::move(request));
    dispatch();
}

void WorkerPool::Core::end(JobKey job, std::uint16_t farewell)
{
    const auto waiting = turns_.remove(job);
    patience_.erase(job);
    for (auto& [number, slot] : slots_) {
        if (slot.request && slot.request->job() == job) abandon(slot, {Kind::cancelled});
        if (slot.holdsFor != job || slot.isLeaving) continue;
        slot.farewell = farewell;
        if (slot.isIdle()) sayFarewell(number);
    }
    for (const PendingPointer& request : waiting) request->fail({Kind::cancelled});
    dispatch();
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
            turns_.finished(request->job(), milliseconds(0));
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

/** One that has died in its sleep is left alone: its end is about to be told. */
std::optional<WorkerPool::Core::WorkerNumber> WorkerPool::Core::findIdle()
{
    for (auto& [number, slot] : slots_) {
        if (!slot.isIdle()) continue;
        slot.isLeaving = slot.worker->hasEnded();
        if (!slot.isLeaving) return number;
    }
    return std::nullopt;
}

/** Those on their way out do not count: they do nothing any more. */
std::size_t WorkerPool::Core::staying() const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(slots_, [](const auto& entry) { return !entry.second.isLeaving; }));
}

void WorkerPool::Core::begin(WorkerNumber number, PendingPointer request)
{
    const auto patience = patience_.find(request->job());
    const milliseconds limit = patience == patience_.end()
                                   ? request->limit()
                                   : request->limitWith(patience->second.left());
    if (request->isShared()) slots_.at(number).holdsFor = request->job();
    work(number, std::move(request), limit);
}

void WorkerPool::Core::work(WorkerNumber number, PendingPointer request, milliseconds limit)
{
    Slot& slot = slots_.at(number);
    slot.request = std::move(request);
    slot.begun = queue_.now();
    slot.deadline = slot.begun + limit;
    setTimer(number, limit, &Core::timedOut);
    slot.worker->send(slot.request->takeMessage());
}

/** The worker has nothing more to do with it. */
PendingPointer WorkerPool::Core::takeRequest(Slot& slot)
{
    PendingPointer request = std::exchange(slot.request, nullptr);
    const auto time = std::chrono::ceil<milliseconds>(queue_.now() - slot.begun);
    request->tookTime(time);
    if (request->job() != JobKey()) turns_.finished(request->job(), time);
    return request;
}

void WorkerPool::Core::answered(WorkerNumber number, WorkerMessage message)
{
    Slot& slot = slots_.at(number);
    const PendingPointer request = takeRequest(slot);
    ++slot.served;
    if (isWornOut(slot)) {
        letGo(number);
    } else if (slot.farewell) {
        sayFarewell(number);
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
    const PendingPointer request = slot.request;
    abandon(slot, {Kind::timedOut});
    noteFailure(*request, slot.begun, true);
    dispatch();
}

void WorkerPool::Core::ended(WorkerNumber number, WorkerFailure reason)
{
    const auto entry = slots_.extract(number);
    Slot& slot = entry.mapped();
    if (slot.request) {
        const PendingPointer request = takeRequest(slot);
        request->fail(reason);
        noteFailure(*request, slot.begun, false);
    }
    dispatch();
}

/** A request of a job has wasted the time since it began. */
void WorkerPool::Core::noteFailure(const PendingRequest& request, Time begun, bool wasHanging)
{
    if (!request.isShared()) return;
    JobPatience& patience = patience_[request.job()];
    patience.noteFailure(begun, queue_.now(), wasHanging);
    if (patience.isUsedUp()) {
        giveUp(request.job());
    } else {
        hurry(request.job(), patience.left());
    }
}

/** What is being worked on for a job gets no more than what the job has left. */
void WorkerPool::Core::hurry(JobKey job, milliseconds left)
{
    for (auto& [number, slot] : slots_) {
        if (!slot.request || slot.request->job() != job || !slot.request->isShared()) continue;
        const milliseconds limit = slot.request->limitWith(left);
        if (queue_.now() + limit >= slot.deadline) continue;
        slot.deadline = queue_.now() + limit;
        setTimer(number, limit, &Core::timedOut);
    }
}

bool WorkerPool::Core::isGivenUp(const PendingRequest& request) const
{
    const auto patience = patience_.find(request.job());
    return patience != patience_.end() && patience->second.isUsedUp() && !request.isGranted();
}

void WorkerPool::Core::giveUp(JobKey job)
{
    for (auto& [number, slot] : slots_) {
        if (slot.request && slot.request->job() == job && isGivenUp(*slot.request))
            abandon(slot, {Kind::cancelled});
    }
    for (PendingPointer& request : turns_.remove(job)) {
        if (isGivenUp(*request)) {
            request->fail({Kind::cancelled});
        } else {
            turns_.push(job, std::move(request));
        }
    }
}

/** A request that is being worked on fails, and the worker with it. */
void WorkerPool::Core::abandon(Slot& slot, WorkerFailure reason)
{
    slot.isLeaving = true;
    slot.timer.reset();
    slot.worker->kill();
    takeRequest(slot)->fail(reason);
}

/** Of no job: it takes nobody's turn. */
void WorkerPool::Core::sayFarewell(WorkerNumber number)
{
    Slot& slot = slots_.at(number);
    slot.holdsFor.reset();
    const std::uint16_t operation = *std::exchange(slot.farewell, std::nullopt);
    auto request = std::make_shared<PendingRequest>(JobKey(),
                                                    WorkerRequest{.message = {.code = operation},
                                                                  .limit = farewellLimit,
                                                                  .granted = farewellLimit},
                                                    nullptr);
    work(number, std::move(request), farewellLimit);
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
void WorkerPool::Core::setTimer(WorkerNumber number, milliseconds delay,
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

void WorkerPool::submit(JobKey job, WorkerRequest request, Completion completion)
{
    auto pending = std::make_shared<PendingRequest>(job, std::move(request), std::move(completion));
    if (core_->stopped) return;
    // A queue that has ended drops the task, and the request fails with it.
    queue_->async([core = core_, pending = std::move(pending)]() mutable {
        core->submit(std::move(pending));
    });
}

void WorkerPool::end(JobKey job, std::uint16_t farewell)
{
    queue_->async([core = core_, job, farewell] { core->end(job, farewell); });
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
