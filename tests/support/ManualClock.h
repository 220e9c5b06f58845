#pragma once

#include "base/Clock.h"

#include <chrono>

namespace korvane {

/** A wall clock that the test sets; at first it is 2025-03-01 14:05:09 UTC. */
class ManualClock final : public Clock {
public:
    std::chrono::system_clock::time_point now() const override { return time; }

    std::chrono::system_clock::time_point time{std::chrono::seconds(1'740'837'909)};
};

} // namespace korvane
