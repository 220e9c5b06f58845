#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "pdf/BufferedOutput.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

/**
 * Turns URF documents (media type "image/urf"), the raster pages of driverless printing, into PDF.
 * Keeps no state; every function may be called on any thread.
 */
namespace korvane::URFDecoder {

/** Why a document was not decoded. */
struct Error {
    /** The document uses something that is refused or cannot be built. */
    struct Unsupported {
        std::string detail;
    };
    /** The document does not begin with the magic. */
    struct NotURF {};
    /** The document ends too early. */
    struct Truncated {};
    /** Nothing is wrong with the document: the PDF could not be written. */
    struct NotWritten {
        SystemError error;
    };

    std::variant<Unsupported, NotURF, Truncated, NotWritten> value;

    std::string errorDescription() const;
};

/**
 * What a document may ask for. A few bytes can stand for a page of any size and for any number of
 * them, so these bound the memory and the time that one document takes.
 */
struct Limits {
    /** Bytes of pixels: an A2 page in color at 300 dpi is 104 MB. */
    std::uint64_t pageRaster = UINT64_C(256) << 20;
    std::uint64_t documentRaster = UINT64_C(16) << 30;
    /** Bytes of the PDF document. */
    std::uint64_t pdf = UINT64_C(1) << 30;
};

/** Writes a PDF document with one page for each of the raster pages, a page at a time, and says how
 *  long it is. `document` begins with the magic, "UNIRAST" and a zero byte. */
Result<std::uint64_t, Error> decodeToPDF(const Data& document, const BufferedOutput::Sink& output,
                                         const Limits& limits = {});

} // namespace korvane::URFDecoder
