#pragma once

#include "platform/queue/Queue.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** A queue that runs its tasks only when the test says so, by a clock that the test moves. */
class ManualQueue final : public SerialQueue {
public:
    void async(Task task) override { tasks_.push_back(std::move(task)); }

    bool isCurrent() const override { return depth_ > 0; }

    void sync(const Task& task) override
    {
        if (!isCurrent()) runWaiting();
        enter(task);
    }

    std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay, Task task) override
    {
        auto shared = std::make_shared<Task>(std::move(task));
        delayed_.emplace(now_ + delay, shared);
        return std::make_unique<Handle>(std::move(shared));
    }

    std::chrono::steady_clock::time_point now() const override { return now_; }

    /** Descriptors are never ready here. */
    std::unique_ptr<DescriptorWatch> watch(int /*descriptor*/) override
    {
        return std::make_unique<Unready>();
    }

    /** Runs what is queued; false when there was nothing. */
    bool runWaiting()
    {
        bool ran = false;
        while (!tasks_.empty()) {
            const Task task = std::move(tasks_.front());
            tasks_.pop_front();
            enter(task);
            ran = true;
        }
        return ran;
    }

    /** When the next delayed task that still lives is due. */
    std::chrono::steady_clock::time_point nextDue()
    {
        std::erase_if(delayed_, [](const auto& entry) { return entry.second.expired(); });
        return delayed_.empty() ? std::chrono::steady_clock::time_point::max()
                                : delayed_.begin()->first;
    }

    bool hasDelayedTask() { return nextDue() != std::chrono::steady_clock::time_point::max(); }

    /** Moves the clock; what is due becomes queued. */
    void moveTo(std::chrono::steady_clock::time_point time)
    {
        now_ = time;
        while (nextDue() <= now_) {
            const auto due = delayed_.begin()->second;
            delayed_.erase(delayed_.begin());
            async([due] {
                if (const auto task = due.lock()) std::exchange(*task, nullptr)();
            });
        }
    }

private:
    struct Handle final : DelayedTask {
        explicit Handle(std::shared_ptr<Task> kept) : task(std::move(kept)) {}
        std::shared_ptr<Task> task;
    };

    struct Unready final : DescriptorWatch {
        void whenReadable(Task /*task*/) override {}
        void whenWritable(Task /*task*/) override {}
    };

    void enter(const Task& task)
    {
        ++depth_;
        task();
        --depth_;
    }

    std::deque<Task> tasks_;
    std::multimap<std::chrono::steady_clock::time_point, std::weak_ptr<Task>> delayed_;
    std::chrono::steady_clock::time_point now_{};
    int depth_ = 0;
};

/** Hand-cranked queues with one clock. */
class ManualQueues final : public Queues {
public:
    SerialQueue& main() override { return *queue("main"); }
    Queue& background() override { return *queue("background"); }
    Queue& utility() override { return *queue("utility"); }
    std::shared_ptr<SerialQueue> makeSerial(const std::string& label) override
    {
        auto made = std::make_shared<ManualQueue>();
        made->moveTo(now_);
        queues_.emplace_back(label, made);
        return made;
    }

    /** The latest queue with that label. */
    std::shared_ptr<ManualQueue> queue(const std::string& label)
    {
        for (auto entry = queues_.rbegin(); entry != queues_.rend(); ++entry) {
            if (entry->first == label) return entry->second;
        }
        static_cast<void>(makeSerial(label));
        return queues_.back().second;
    }

    /** Runs every queue until none has anything left to do at this moment. */
    void run()
    {
        for (bool ran = true; ran;) {
            ran = false;
            const auto queues = queues_;
            for (const auto& [label, queue] : queues) ran = queue->runWaiting() || ran;
        }
    }

    /** Lets `time` pass, stopping at each delayed task that falls due on the way. */
    void advance(std::chrono::nanoseconds time)
    {
        const auto end = now_ + std::chrono::duration_cast<decltype(now_)::duration>(time);
        run();
        while (now_ < end) {
            auto next = end;
            for (const auto& [label, queue] : queues_) next = std::min(next, queue->nextDue());
            now_ = std::max(next, now_);
            for (const auto& [label, queue] : queues_) queue->moveTo(now_);
            run();
        }
    }

private:
    std::vector<std::pair<std::string, std::shared_ptr<ManualQueue>>> queues_;
    std::chrono::steady_clock::time_point now_{};
};

} // namespace korvane
