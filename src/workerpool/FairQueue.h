#pragma once

#include "workerpool/WorkerService.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <tuple>
#include <utility>

namespace korvane {

/**
 * A fair queue of jobs' items. The next item is of the job with the fewest running, and of those
 * the one that has used the least time; a job's own items come first in, first out. So a job gets
 * its share of the workers however long the items of another take.
 */
template <typename T>
class FairQueue {
public:
    bool empty() const { return next(jobs_) == jobs_.end(); }

    void push(JobKey job, T item) { entry(job).waiting.push_back(std::move(item)); }

    /** The next one, which runs from now until `finished`. Not when empty. */
    T pop()
    {
        Entry& entry = next(jobs_)->second;
        T item = std::move(entry.waiting.front());
        entry.waiting.pop_front();
        ++entry.running;
        return item;
    }

    /** One of the job's running items has finished, and used so much time. */
    void finished(JobKey job, std::chrono::milliseconds time)
    {
        Entry& entry = jobs_.at(job);
        --entry.running;
        entry.time += time;
        eraseIfDone(job);
    }

    /** Removes the items that wait for one job. */
    std::deque<T> remove(JobKey job)
    {
        const auto entry = jobs_.find(job);
        if (entry == jobs_.end()) return {};
        std::deque<T> waiting = std::exchange(entry->second.waiting, {});
        eraseIfDone(job);
        return waiting;
    }

private:
    struct Entry {
        std::deque<T> waiting;
        std::size_t running = 0;
        std::chrono::milliseconds time{0};
    };

    /** A job that is new, or returns, starts with the least time that another has used by then:
     *  idle time earns no credit. */
    Entry& entry(JobKey job)
    {
        const auto known = jobs_.find(job);
        if (known != jobs_.end()) return known->second;
        const auto least =
            std::ranges::min_element(jobs_, {}, [](const auto& each) { return each.second.time; });
        const auto time = least == jobs_.end() ? std::chrono::milliseconds(0) : least->second.time;
        return jobs_.emplace(job, Entry{.time = time}).first->second;
    }

    template <typename Jobs>
    static auto next(Jobs& jobs)
    {
        const auto rank = [](const auto& each) {
            const Entry& entry = each.second;
            return std::tuple(entry.waiting.empty(), entry.running, entry.time);
        };
        const auto best = std::ranges::min_element(jobs, {}, rank);
        return best != jobs.end() && best->second.waiting.empty() ? jobs.end() : best;
    }

    void eraseIfDone(JobKey job)
    {
        const auto entry = jobs_.find(job);
        if (entry->second.waiting.empty() && entry->second.running == 0) jobs_.erase(entry);
    }

    /** Those with items that wait or run, the oldest first. */
    std::map<JobKey, Entry> jobs_;
};

} // namespace korvane
