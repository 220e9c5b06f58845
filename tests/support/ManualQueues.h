#pragma once

#include "event/Queue.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** A queue that runs its tasks only when the test says so, by a clock that the test moves. */
class ManualQueue final : public SerialQueue {
public:
    using Time = std::chrono::steady_clock::time_point;

    void async(Task task) override { tasks_.push_back(std::move(task)); }
    bool isCurrent() const override { return isRunning_; }
    Time now() const override { return now_; }

    void sync(const Task& task) override
    {
        if (isCurrent()) return task();
        async(task);
        runWaiting();
    }

    std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay, Task task) override
    {
        auto handle = std::make_unique<Handle>();
        handle->task = std::make_shared<Task>(std::move(task));
        delayed_.emplace(now_ + delay, handle->task);
        return handle;
    }

    /** A descriptor is readable when the test waits for it, and never writable. */
    std::unique_ptr<DescriptorWatch> watch(int descriptor) override
    {
        return std::make_unique<Watch>(watches_, descriptor);
    }

    /** How many descriptors are watched. */
    std::size_t watched() const { return watches_.size(); }

    /** Waits until the descriptor that has been watched longest is readable, and says so. */
    void waitForDescriptor()
    {
        pollfd descriptor{.fd = watches_.front()->descriptor, .events = POLLIN, .revents = 0};
        if (::poll(&descriptor, 1, 60'000) == 1) std::exchange(watches_.front()->task, nullptr)();
    }

    /** Runs what is queued; false when there was nothing. */
    bool runWaiting()
    {
        const bool ran = !tasks_.empty();
        isRunning_ = true;
        for (; !tasks_.empty(); tasks_.pop_front()) std::exchange(tasks_.front(), nullptr)();
        isRunning_ = false;
        return ran;
    }

    /** When the next delayed task that still lives is due. */
    Time nextDue()
    {
        std::erase_if(delayed_, [](const auto& entry) { return entry.second.expired(); });
        return delayed_.empty() ? Time::max() : delayed_.begin()->first;
    }

    bool hasDelayedTask() { return nextDue() != Time::max(); }

    /** Moves the clock; what is due becomes queued. */
    void moveTo(Time time)
    {
        now_ = time;
        while (nextDue() <= now_) {
            async([due = delayed_.extract(delayed_.begin()).mapped()] {
                if (const auto task = due.lock()) std::exchange(*task, nullptr)();
            });
        }
    }

private:
    struct Handle final : DelayedTask {
        std::shared_ptr<Task> task;
    };
    struct Watch final : DescriptorWatch {
        Watch(std::list<Watch*>& all, int watched) : watches(all), descriptor(watched)
        {
            watches.push_back(this);
        }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch() override { watches.remove(this); }
        void whenReadable(Task ready) override { task = std::move(ready); }
        void whenWritable(Task /*ready*/) override {}

        std::list<Watch*>& watches;
        const int descriptor;
        Task task;
    };

    std::list<Watch*> watches_;
    std::deque<Task> tasks_;
    std::multimap<Time, std::weak_ptr<Task>> delayed_;
    Time now_{};
    bool isRunning_ = false;
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
