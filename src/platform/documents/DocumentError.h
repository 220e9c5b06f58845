#pragma once

#include "platform/worker/WorkerFailure.h"

#include <string>
#include <variant>

namespace korvane {

/** Why a document, or a page of it, could not be worked on. */
struct DocumentError {
    enum class Kind {
        notReadable,   ///< not a PDF, or damaged beyond reading
        needsPassword, ///< encrypted for those who know the password
        noPage,        ///< the page does not exist or cannot be rendered
        recognition,   ///< the recogniser gave up; `detail` is what it said
        worker,        ///< the process working on it broke down, as `failure` says
    };

    Kind kind = Kind::worker;
    std::string detail;
    WorkerFailure failure;

    std::string description() const;

    /** The agent is ending: nothing is wrong with the document. */
    bool stopped() const
    {
        return kind == Kind::worker && (failure.kind == WorkerFailure::Kind::stopped ||
                                        failure.kind == WorkerFailure::Kind::cancelled);
    }
    bool timedOut() const
    {
        return kind == Kind::worker && failure.kind == WorkerFailure::Kind::timedOut;
    }
};

} // namespace korvane
