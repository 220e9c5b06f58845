#pragma once

#include <string>

namespace korvane {

/** Why a request to a worker process has no answer. It cost that request and no other. */
struct WorkerFailure {
    enum class Kind {
        couldNotStart,  ///< `code` is the errno value
        crashed,        ///< `code` is the signal
        exited,         ///< `code` is the exit status
        outOfMemory,    ///< the worker had no memory left for the request
        timedOut,       ///< the worker was killed at the request's limit
        protocolBroken, ///< the worker sent what is no answer; it was killed
        refused,        ///< the worker answered that it could not; `code` is its reason
        tooLarge,       ///< the request is not what a message can hold
        cancelled,      ///< the job has ended or was given up
        stopped,        ///< the pool was stopped
    };

    Kind kind = Kind::stopped;
    int code = 0;

    /** For a log line, for example "the worker crashed with signal 11". */
    std::string description() const;

    friend bool operator==(const WorkerFailure&, const WorkerFailure&) = default;
};

} // namespace korvane
