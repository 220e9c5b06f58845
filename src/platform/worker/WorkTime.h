#pragma once

#include <atomic>
#include <chrono>

namespace korvane {

/** Time that workers have spent on something; neither waiting for a turn nor for an answer counts.
 *  Any thread. */
class WorkTime {
public:
    void add(std::chrono::milliseconds time) { milliseconds_ += time.count(); }
    std::chrono::milliseconds total() const { return std::chrono::milliseconds(milliseconds_); }

private:
    std::atomic<std::chrono::milliseconds::rep> milliseconds_ = 0;
};

} // namespace korvane
