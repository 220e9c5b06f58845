#pragma once

#include "raster/RasterDecoder.h"

/**
 * Turns URF documents (media type "image/urf"), the raster pages of driverless printing, into PDF.
 * They come in two layouts that differ in the page header and in what the codes of a line mean;
 * the first page header tells which it is. Keeps no state; every function may be called on any
 * thread.
 */
namespace korvane::URFDecoder {

using Error = RasterError;
using Limits = RasterLimits;

/** Writes a PDF document with one page for each of the raster pages, a page at a time, and says how
 *  long it is. `document` begins with the magic, "UNIRAST" and a zero byte. */
Result<std::uint64_t, Error> decodeToPDF(const Data& document, const BufferedOutput::Sink& output,
                                         const Limits& limits = {});

} // namespace korvane::URFDecoder
