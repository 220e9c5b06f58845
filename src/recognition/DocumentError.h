#pragma once

#include "base/SystemError.h"
#include "workerpool/WorkerFailure.h"

#include <string>
#include <variant>

namespace korvane {

/** Why a document, or a page of it, could not be worked on. */
struct DocumentError {
    enum class Kind {
        notReadable,   ///< not a PDF, or damaged beyond repair
        needsPassword, ///< encrypted for those who know the password
        noPage,        ///< the page does not exist or cannot be rendered
        recognition,   ///< the recognizer failed; `detail` is its message
        conversion,    ///< damaged, or not of the kind that it was taken for; `detail` tells why
        cannotWrite,   ///< what was made of it could not be written, as `system` tells
        worker,        ///< the request to a worker failed, as `failure` tells
    };

    Kind kind = Kind::worker;
    std::string detail;
    SystemError system;
    WorkerFailure failure;

    std::string description() const;

    /** The agent is shutting down: nothing is wrong with the document. */
    bool stopped() const
    {
        return kind == Kind::worker && (failure.kind == WorkerFailure::Kind::stopped ||
                                        failure.kind == WorkerFailure::Kind::cancelled);
    }
};

} // namespace korvane
