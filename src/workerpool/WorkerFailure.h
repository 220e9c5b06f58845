#pragma once

#include <string>

namespace korvane {

/** Why a request to a worker process has no answer. It cost that request and no other. */
struct WorkerFailure {
    enum class Kind {
        couldNotStart,   ///< `code` is the errno value
        crashed,         ///< `code` is the signal
        exited,          ///< `code` is the exit status
        outOfMemory,     ///< the worker had no memory left for the request
        timedOut,        ///< the worker was killed at the request's limit
        invalidResponse, ///< the worker sent what is no answer, and was killed
        refused,         ///< the worker refused the request; `code` is its reason
        tooLarge,        ///< the request exceeds the bounds of a message
        cancelled,       ///< the job has ended
        overBudget,      ///< the job has lost too much time to requests that failed
        stopped,         ///< the pool was stopped
    };

    Kind kind = Kind::stopped;
    int code = 0;

    /** For a log line, for example "the worker crashed with signal 11". */
    std::string description() const;

    friend bool operator==(const WorkerFailure&, const WorkerFailure&) = default;
};

} // namespace korvane
