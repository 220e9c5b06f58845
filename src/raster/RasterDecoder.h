#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "pdf/BufferedOutput.h"
#include "raster/RasterError.h"
#include "raster/RasterLayout.h"

#include <cstdint>

namespace korvane {

/**
 * What a document may ask for. A few bytes can stand for a page of any size and for any number of
 * them, so these bound the memory and the time that one document takes.
 */
struct RasterLimits {
    /** Bytes of pixels: an A2 page in color at 300 dpi is 104 MB. */
    std::uint64_t pageRaster = UINT64_C(256) << 20;
    std::uint64_t documentRaster = UINT64_C(16) << 30;
    /** Bytes of the PDF document. */
    std::uint64_t pdf = UINT64_C(1) << 30;
};

/** Writes a PDF document with one page for each of the raster pages, a page at a time, and says how
 *  long it is. The document begins with the layout's magic. May be called on any thread. */
Result<std::uint64_t, RasterError> decodeRaster(const RasterLayout& layout, const Data& document,
                                                const BufferedOutput::Sink& output,
                                                const RasterLimits& limits);

} // namespace korvane
