#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <thread>

namespace korvane {

struct WorkerPoolLimits {
    std::size_t workers = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
    /** A worker that is idle for so long is retired. */
    std::chrono::milliseconds idle = std::chrono::seconds(60);
    /** A retired worker that has not exited after so long is killed. */
    std::chrono::milliseconds grace = std::chrono::seconds(5);
    /** A worker that has served so many requests, holds so many bytes or has run for so long on a
     *  processor is retired. The sandbox ends one that has run for twice as long. */
    std::size_t requests = 10'000;
    std::size_t memory = std::size_t{350} << 20;
    std::chrono::milliseconds processorTime = std::chrono::minutes(30);
};

} // namespace korvane
