#pragma once

#include <string>

namespace korvane {

/** Why no PDF was written. */
struct PDFWriteError {
    enum class Kind {
        /** The source is no PDF, needs a password, or is too damaged to be copied safely. */
        cannotOpenSource,
        /** The source is digitally signed: rewriting it would break the signature. */
        sourceIsSigned,
        /** Writing to the output failed. */
        cannotWrite,
        /** The worker crashed, ran out of memory or timed out. */
        workerFailed,
    };

    Kind kind = Kind::workerFailed;
    /** For the log; may be empty. */
    std::string detail;

    friend bool operator==(const PDFWriteError&, const PDFWriteError&) = default;
};

} // namespace korvane
