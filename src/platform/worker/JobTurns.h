#pragma once

#include "platform/worker/WorkerService.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace korvane {

/**
 * Things waiting for their turn. The next is of the job of which the fewest are being worked on,
 * and of those the one that has had the least time; inside a job the first comes first. So a job
 * gets its part of the workers however long each of another's things takes.
 */
template <typename T>
class JobTurns {
public:
    bool empty() const { return next() == jobs_.end(); }

    void push(JobKey job, T thing) { entry(job).waiting.push_back(std::move(thing)); }

    /** The next one, which is being worked on from now until `finished`. Not when empty. */
    T pop()
    {
        Entry& entry = next()->second;
        T thing = std::move(entry.waiting.front());
        entry.waiting.pop_front();
        ++entry.running;
        return thing;
    }

    /** One of the job's things is done, and took so much time. */
    void finished(JobKey job, std::chrono::milliseconds time)
    {
        Entry& entry = jobs_.at(job);
        --entry.running;
        entry.time += time;
        dropIfDone(job);
    }

    /** Takes out what waits for one job. */
    std::deque<T> remove(JobKey job)
    {
        const auto entry = jobs_.find(job);
        if (entry == jobs_.end()) return {};
        std::deque<T> waiting = std::exchange(entry->second.waiting, {});
        dropIfDone(job);
        return waiting;
    }

private:
    struct Entry {
        std::deque<T> waiting;
        std::size_t running = 0;
        std::chrono::milliseconds time{0};
    };

    /** A job that comes, or comes back, is level with the one that had the least time by then:
     *  nobody saves up time for later. */
    Entry& entry(JobKey job)
    {
        if (const auto known = jobs_.find(job); known != jobs_.end()) return known->second;
        const auto least =
            std::ranges::min_element(jobs_, {}, [](const auto& each) { return each.second.time; });
        const auto time = least == jobs_.end() ? std::chrono::milliseconds(0) : least->second.time;
        Entry& made = jobs_[job];
        made.time = time;
        return made;
    }

    auto next() const { return nextOf(jobs_); }
    auto next() { return nextOf(jobs_); }

    template <typename Jobs>
    static auto nextOf(Jobs& jobs)
    {
        const auto rank = [](const Entry& entry) {
            return std::tuple(entry.waiting.empty(), entry.running, entry.time);
        };
        const auto best =
            std::ranges::min_element(jobs, {}, [&](const auto& each) { return rank(each.second); });
        return best != jobs.end() && best->second.waiting.empty() ? jobs.end() : best;
    }

    void dropIfDone(JobKey job)
    {
        const auto entry = jobs_.find(job);
        if (entry->second.waiting.empty() && entry->second.running == 0) jobs_.erase(entry);
    }

    /** Those that wait for something or are being worked on, the oldest first. */
    std::map<JobKey, Entry> jobs_;
};

} // namespace korvane
