#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "ipp/PaperSize.h"
#include "pdf/BufferedOutput.h"

#include <cstdint>
#include <string>
#include <variant>

namespace korvane {

/** Why there is no PDF of a picture. */
struct PictureError {
    /** What is wrong with the file, or not supported of it. */
    struct Refused {
        std::string reason;
    };
    /** Nothing is wrong with the file: the PDF could not be written. */
    struct NotWritten {
        SystemError error;
    };

    std::variant<Refused, NotWritten> value;
};

/**
 * Writes a PDF document of one page that shows a JPEG file, with its bytes inside as they are, and
 * says how long it is. The page is no larger than the paper, in one orientation of it or the other.
 * Throws std::bad_alloc.
 */
Result<std::uint64_t, PictureError> writeJPEGDocument(const Data& jpeg, const PaperSize& paper,
                                                      const BufferedOutput::Sink& output);

} // namespace korvane
