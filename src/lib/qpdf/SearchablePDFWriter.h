#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "page/DocumentInformation.h"
#include "page/PDFWriteError.h"
#include "page/PageTextLayer.h"

#include <cstdint>
#include <functional>
#include <span>

namespace korvane {

/** Takes the next bytes of a PDF being written, a quarter of a mebibyte or less. */
using PDFSink = std::function<Result<void, SystemError>(std::span<const std::uint8_t>)>;

/**
 * Copies a PDF, adding to its first pages one layer of invisible text each (text rendering mode 3,
 * ISO 32000-1, 9.3.6) and setting entries of its document information, with which its XMP metadata
 * comes in step. A document without a "CreationDate" was created at the "ModDate" given, if any.
 * It claims no more to follow PDF/A or another such standard. Everything else stays: pages keep
 * their bytes, links, outlines, forms and attachments; what was encrypted with an empty user
 * password stays encrypted in the same way.
 *
 * The source is read in place and may be a mapped file: memory grows with the number of its
 * objects, not with its size. A document made to do harm may still unpack to a huge object stream
 * or lead QPDF from object to object until the stack ends: this is for a process that has limits
 * of memory and time, and can be lost.
 *
 * A source that has to be repaired is copied only when the repair lost no object and found exactly
 * as many pages as there are layers. On failure the sink may have been given a part of the PDF.
 */
Result<void, PDFWriteError> writeSearchablePDF(const Data& source,
                                               std::span<const PageTextLayer> layers,
                                               const DocumentInformation& information,
                                               const PDFSink& sink);

} // namespace korvane
