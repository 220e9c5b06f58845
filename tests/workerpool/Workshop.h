#pragma once

#include "workerpool/Worker.h"

#include <cerrno>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** What was done to workers, and the events that a test has them report. */
struct Workshop {
    struct State {
        Worker::Events events;
        /** What it works on; the code for a request that has one. */
        std::string request;
        std::chrono::milliseconds limit{0};
        bool isReleased = false;
        bool isKilled = false;
        bool hasEnded = false;
        std::size_t memory = 0;
        /** Whether other programs keep it from running: otherwise it has run for long. */
        bool isStarved = false;
        std::chrono::milliseconds processorTime{0};
    };

    /** Those that live, by the order of their start. */
    std::map<int, State> workers;
    int started = 0;
    bool canStart = true;
    /** The requests in the order in which they began. */
    std::vector<std::string> begun;

    /** Answers with the text of the request. */
    void answer(int worker)
    {
        State& state = workers.at(worker);
        const auto answered = state.events.answered;
        answered({.payload = Data::copying(std::exchange(state.request, ""))});
    }
    void end(int worker, WorkerFailure reason)
    {
        const auto ended = workers.at(worker).events.ended;
        ended(reason);
    }
    void crash(int worker) { end(worker, {WorkerFailure::Kind::crashed, 11}); }
};

class WorkshopWorker final : public Worker {
public:
    WorkshopWorker(Workshop& workshop, Events events)
        : workshop_(workshop), number_(workshop.started++)
    {
        workshop_.workers[number_].events = std::move(events);
    }
    WorkshopWorker(const WorkshopWorker&) = delete;
    WorkshopWorker& operator=(const WorkshopWorker&) = delete;
    ~WorkshopWorker() override { workshop_.workers.erase(number_); }

    void send(WorkerMessage request) override
    {
        state().request = request.code == 0 ? request.payload.text() : std::to_string(request.code);
        state().limit = request.limit;
        workshop_.begun.push_back(state().request);
    }
    void release() override { state().isReleased = true; }
    void kill() override { state().isKilled = true; }
    bool hasEnded() const override { return workshop_.workers.at(number_).hasEnded; }
    std::chrono::milliseconds processorTime() const override
    {
        Workshop::State& state = workshop_.workers.at(number_);
        if (!state.isStarved) state.processorTime += std::chrono::minutes(1);
        return state.processorTime;
    }
    std::size_t memory() const override { return workshop_.workers.at(number_).memory; }

private:
    Workshop::State& state() { return workshop_.workers.at(number_); }

    Workshop& workshop_;
    int number_;
};

class WorkshopLauncher final : public WorkerLauncher {
public:
    explicit WorkshopLauncher(Workshop& workshop) : workshop_(workshop) {}

    Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& /*queue*/,
                                                          Worker::Events events) override
    {
        if (!workshop_.canStart)
            return failure(WorkerFailure{WorkerFailure::Kind::couldNotStart, ENOENT});
        return std::make_unique<WorkshopWorker>(workshop_, std::move(events));
    }

private:
    Workshop& workshop_;
};

} // namespace korvane
