#pragma once

#include <chrono>
#include <cstdint>

namespace korvane {

/** How the printer stands at one moment. */
struct PrinterStatus {
    using Time = std::chrono::system_clock::time_point;

    /** Whether a job is being processed. */
    bool isProcessing = false;
    /** Jobs that have not ended. */
    std::int32_t queuedJobs = 0;
    Time now;
    /** The moment that printer-up-time is counted from. */
    Time started;
    /** When `isProcessing` last changed. */
    Time stateChanged;
    /** When what the printer can do, or its name, last changed. */
    Time configurationChanged;
};

} // namespace korvane
