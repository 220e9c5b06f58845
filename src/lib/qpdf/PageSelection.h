#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "lib/qpdf/SearchablePDFWriter.h"
#include "page/PDFWriteError.h"
#include "page/PageRange.h"

#include <vector>

namespace korvane {

/**
 * Copies those pages of a PDF that lie in one of the ranges, in their order, as
 * `writeSearchablePDF` copies all of them. The contents of the others are not in the copy. Fails
 * with `cannotOpenSource` where there is none of these pages.
 */
Result<void, PDFWriteError>
writeSelectedPages(const Data& source, const std::vector<PageRange>& ranges, const PDFSink& sink);

} // namespace korvane
