#include "workerpool/WorkerSlot.h"

#include "workerpool/JobBudget.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

using Kind = WorkerFailure::Kind;

/** For having a worker release the document that it holds. */
constexpr std::chrono::milliseconds releaseLimit = std::chrono::seconds(2);

constexpr int maxStretch = 2;
/** Between two looks at how long a worker has run: what it may take longer than its limit. */
constexpr std::chrono::milliseconds minCheckInterval = std::chrono::milliseconds(100);

} // namespace

WorkerSlot::WorkerSlot(SerialQueue& queue, const WorkerPoolLimits& limits, Events events)
    : queue_(queue), limits_(limits), events_(std::move(events))
{
}

Result<void, WorkerFailure> WorkerSlot::launch(WorkerLauncher& launcher)
{
    auto worker = launcher.launch(
        queue_, {.answered = [this](WorkerMessage answer) { answered(std::move(answer)); },
                 .ended = [this](WorkerFailure reason) { ended(reason); }});
    if (!worker) return failure(worker.error());
    worker_ = *std::move(worker);
    return {};
}

bool WorkerSlot::isIdle()
{
    if (!std::holds_alternative<Idle>(state_)) return false;
    if (worker_->hasEnded()) state_ = Retiring();
    return isActive();
}

int WorkerSlot::affinity(const PendingRequest& request) const
{
    if (!held_) return 1;
    if (held_->job != request.job()) return 0;
    return held_->page == request.request().page ? 3 : 2;
}

const PendingRequest* WorkerSlot::request() const
{
    const Busy* busy = std::get_if<Busy>(&state_);
    return busy ? busy->request.get() : nullptr;
}

void WorkerSlot::begin(PendingPointer request, milliseconds limit)
{
    // Requests that their job's losses do not concern are about no document.
    if (JobBudget::concerns(request->request()))
        held_ = Held{.job = request->job(), .page = request->request().page};
    WorkerMessage message = request->request().message;
    message.limit = limit;
    const Time now = queue_.now();
    state_ = Busy{.request = std::move(request), .started = now};
    setLimit(std::get<Busy>(state_), limit);
    worker_->send(std::move(message));
}

void WorkerSlot::shortenLimit(milliseconds limit)
{
    Busy& busy = std::get<Busy>(state_);
    if (queue_.now() + limit < busy.limit.deadline) setLimit(busy, limit);
}

void WorkerSlot::setLimit(Busy& busy, milliseconds limit)
{
    const Time now = queue_.now();
    busy.limit = {.duration = limit,
                  .since = now,
                  .runBefore = worker_->processorTime(),
                  .deadline = now + limit};
    busy.timer = after(limit, &WorkerSlot::checkLimit);
}

std::optional<WorkerSlot::Outcome> WorkerSlot::cancel(WorkerFailure reason)
{
    std::optional<Outcome> outcome;
    if (Busy* busy = std::get_if<Busy>(&state_)) outcome = takeRequest(*busy, failure(reason));
    kill();
    return outcome;
}

void WorkerSlot::release(JobKey job, std::uint16_t operation)
{
    if (!held_ || held_->job != job) return;
    held_.reset();
    if (Busy* busy = std::get_if<Busy>(&state_)) {
        busy->releaseOperation = operation;
    } else if (isIdle()) {
        sendRelease(operation);
    }
}

/** It is charged for the time that it took, and its job for no more of that than its limit. */
WorkerSlot::Outcome WorkerSlot::takeRequest(Busy& busy, WorkerAnswer answer) const
{
    const Time now = queue_.now();
    busy.request->addWorkTime(std::chrono::ceil<milliseconds>(now - busy.started));
    return {.request = std::move(busy.request),
            .chargedFrom = std::max(busy.started, now - busy.limit.duration),
            .answer = std::move(answer)};
}

void WorkerSlot::answered(WorkerMessage message)
{
    ++served_;
    Busy* busy = std::get_if<Busy>(&state_);
    if (!busy) { // it has released its document
        becomeIdle();
        return events_.finished(std::nullopt);
    }
    WorkerAnswer answer = failure(WorkerFailure{Kind::refused, message.code});
    if (message.code == 0) answer = std::move(message);
    Outcome outcome = takeRequest(*busy, std::move(answer));
    const auto releaseOperation = busy->releaseOperation;
    becomeIdle();
    if (releaseOperation && isIdle()) sendRelease(*releaseOperation);
    events_.finished(std::move(outcome));
}

void WorkerSlot::checkLimit()
{
    Busy& busy = std::get<Busy>(state_);
    Limit& limit = busy.limit;
    const Time now = queue_.now();
    const milliseconds left = limit.duration - (worker_->processorTime() - limit.runBefore);
    if (left > milliseconds(0) && now < limit.since + maxStretch * limit.duration) {
        const milliseconds next = std::max(left, minCheckInterval);
        limit.deadline = now + next;
        busy.timer = after(next, &WorkerSlot::checkLimit);
        return;
    }
    events_.finished(cancel({Kind::timedOut}));
}

void WorkerSlot::ended(WorkerFailure reason)
{
    std::optional<Outcome> outcome;
    if (Busy* busy = std::get_if<Busy>(&state_)) outcome = takeRequest(*busy, failure(reason));
    state_ = Retiring();
    const auto ended = std::move(events_.ended); // which destroys this
    ended(std::move(outcome));
}

bool WorkerSlot::shouldRetire() const
{
    return served_ >= limits_.requests || worker_->memory() > limits_.memory ||
           worker_->processorTime() > limits_.processorTime;
}

void WorkerSlot::becomeIdle()
{
    if (shouldRetire()) return retire();
    state_ = Idle{.timer = after(limits_.idle, &WorkerSlot::retire)};
}

void WorkerSlot::sendRelease(std::uint16_t operation)
{
    state_ = Releasing{.timer = after(releaseLimit, &WorkerSlot::kill)};
    worker_->send({.code = operation, .limit = releaseLimit});
}

void WorkerSlot::retire()
{
    worker_->release();
    state_ = Retiring{.timer = after(limits_.grace, &WorkerSlot::kill)};
}

void WorkerSlot::kill()
{
    worker_->kill();
    state_ = Retiring();
}

/** The slot owns the timer, so it exists when the timer fires. */
WorkerSlot::Timer WorkerSlot::after(milliseconds delay, void (WorkerSlot::*step)())
{
    return queue_.after(delay, [this, step] { (this->*step)(); });
}

} // namespace korvane
