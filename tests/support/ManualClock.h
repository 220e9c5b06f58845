#pragma once

#include "base/Clock.h"

#include <chrono>

namespace korvane {

/** A wall clock on which it is always 2025-03-01 14:05:09 UTC. */
class ManualClock final : public Clock {
public:
    std::chrono::system_clock::time_point now() const override
    {
        return std::chrono::system_clock::time_point(std::chrono::seconds(1'740'837'909));
    }
};

} // namespace korvane
