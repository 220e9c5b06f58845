#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** job-state values (RFC 8011 section 5.3.7). */
enum class JobState : std::int32_t {
    pending = 3,
    pendingHeld = 4,
    processing = 5,
    canceled = 7,
    aborted = 8,
    completed = 9,
};

/** Whether nothing will be done for the job any more. */
constexpr bool isEnded(JobState state)
{
    return state >= JobState::canceled;
}

/** How a job stands at one moment. */
struct JobStatus {
    JobState state = JobState::pending;
    /** A keyword of job-state-reasons (RFC 8011 section 5.3.8). */
    std::string_view reason = "none";
    /** The same in words, for people; may be empty. */
    std::string message;

    /** Known once the document has been opened. */
    std::optional<std::size_t> pages;
    std::size_t pagesCompleted = 0;

    using Time = std::chrono::system_clock::time_point;
    Time created;
    std::optional<Time> processing;
    std::optional<Time> ended;
};

} // namespace korvane
