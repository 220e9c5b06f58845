#include "workerpool/WorkerFailure.h"

#include "base/SystemError.h"

namespace korvane {

std::string WorkerFailure::description() const
{
    switch (kind) {
    case Kind::couldNotStart:
        return "the worker could not be started: " + SystemError{code}.description();
    case Kind::crashed: return "the worker crashed with signal " + std::to_string(code);
    case Kind::exited: return "the worker ended with status " + std::to_string(code);
    case Kind::outOfMemory: return "the worker ran out of memory";
    case Kind::timedOut: return "the worker took too long";
    case Kind::invalidResponse: return "invalid response from worker";
    case Kind::refused: return "the worker refused the request";
    case Kind::tooLarge: return "the request is too large for the worker";
    case Kind::cancelled: return "the job was cancelled";
    case Kind::overBudget: return "too much time was lost to other pages of the document";
    case Kind::stopped: break;
    }
    return "agent shutting down";
}

} // namespace korvane
