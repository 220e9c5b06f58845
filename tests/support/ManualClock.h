#pragma once

#include "platform/system/Clock.h"

#include <chrono>
#include <mutex>

namespace korvane {

/** A wall clock that moves only when it is told to; from any thread. */
class ManualClock final : public Clock {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    /** Starts at 2025-03-01 14:05:09 UTC. */
    ManualClock() = default;
    explicit ManualClock(TimePoint start) : now_(start) {}

    TimePoint now() const override
    {
        const std::scoped_lock lock(mutex_);
        return now_;
    }

    void set(TimePoint now)
    {
        const std::scoped_lock lock(mutex_);
        now_ = now;
    }

    void advance(std::chrono::system_clock::duration step)
    {
        const std::scoped_lock lock(mutex_);
        now_ += step;
    }

private:
    mutable std::mutex mutex_;
    TimePoint now_ = std::chrono::sys_days(std::chrono::year(2025) / 3 / 1) +
                     std::chrono::hours(14) + std::chrono::minutes(5) + std::chrono::seconds(9);
};

} // namespace korvane
