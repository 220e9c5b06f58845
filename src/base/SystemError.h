#pragma once

#include <string>

namespace korvane {

/** The error of a system call: an errno value. */
struct SystemError {
    int code = 0;

    /** The system's own words, for example "Address already in use". */
    std::string description() const;

    /** The error that the last failed system call on this thread left behind. */
    static SystemError last();

    friend bool operator==(const SystemError&, const SystemError&) = default;
};

} // namespace korvane
