#pragma once

#include <chrono>

namespace korvane {

/** The wall clock. */
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() const = 0;
};

/** The machine's own clock. */
class SystemClock final : public Clock {
public:
    std::chrono::system_clock::time_point now() const override
    {
        return std::chrono::system_clock::now();
    }
};

} // namespace korvane
