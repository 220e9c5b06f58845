#pragma once

#include "raster/RasterDecoder.h"

/**
 * Turns PWG raster documents (PWG 5102.4, media type "image/pwg-raster") into PDF: those of the
 * types sgray_8, srgb_8 and black_1. Keeps no state; every function may be called on any thread.
 */
namespace korvane::PWGDecoder {

/** Whether the document begins with the magic. */
bool isPWGRaster(const Data& document);

/** Writes a PDF document with one page for each of the raster pages, a page at a time, and says how
 *  long it is. `document` begins with the magic, "RaS2". */
Result<std::uint64_t, RasterError> decodeToPDF(const Data& document,
                                               const BufferedOutput::Sink& output,
                                               const RasterLimits& limits = {});

} // namespace korvane::PWGDecoder
