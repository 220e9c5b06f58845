#pragma once

#include <cstdint>
#include <string>

namespace korvane {

/** A job that is accepted and not saved yet. */
struct JobProgress {
    /** Counts the jobs of one agent, from 1 on. */
    std::uint64_t number = 0;
    std::string name;
    /** What is done for it, in words ("Recognizing page 3 of 12"); may be empty. */
    std::string message;
    std::uint32_t pagesCompleted = 0;
    /** 0 until the document has been opened. */
    std::uint32_t pages = 0;

    friend bool operator==(const JobProgress&, const JobProgress&) = default;
};

} // namespace korvane
