#pragma once

#include "platform/worker/WorkerService.h"

#include <deque>
#include <map>
#include <utility>

namespace korvane {

/** Things waiting for their turn: jobs take turns, and inside a job the first comes first. */
template <typename T>
class JobTurns {
public:
    bool empty() const { return order_.empty(); }

    void push(JobKey job, T thing)
    {
        std::deque<T>& waiting = waiting_[job];
        if (waiting.empty()) order_.push_back(job);
        waiting.push_back(std::move(thing));
    }

    /** The next one; the job's turn comes again after all others. Not when empty. */
    T pop()
    {
        const JobKey job = order_.front();
        order_.pop_front();
        const auto entry = waiting_.find(job);
        T thing = std::move(entry->second.front());
        entry->second.pop_front();
        if (entry->second.empty()) {
            waiting_.erase(entry);
        } else {
            order_.push_back(job);
        }
        return thing;
    }

    /** Takes out what waits for one job. */
    std::deque<T> remove(JobKey job)
    {
        std::erase(order_, job);
        const auto entry = waiting_.extract(job);
        return entry ? std::move(entry.mapped()) : std::deque<T>();
    }

private:
    /** The jobs that wait for something, in the order of their turns. */
    std::deque<JobKey> order_;
    std::map<JobKey, std::deque<T>> waiting_;
};

} // namespace korvane
