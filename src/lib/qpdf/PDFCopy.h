#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "lib/qpdf/PageTree.h"
#include "lib/qpdf/QPDFHeaders.h"
#include "lib/qpdf/SearchablePDFWriter.h"
#include "page/PDFWriteError.h"

#include <functional>
#include <string>
#include <vector>

namespace korvane {

/** What is changed in a copy; fails where the document does not allow it. */
using PDFEdit = std::function<Result<void, PDFWriteError>(QPDF&, const std::vector<SourcePage>&)>;

/**
 * Copies a PDF with a change in it. Refused is what cannot be read within bounds, and what is
 * signed. Streams that the document has are copied as they are; what was encrypted with an empty
 * user password stays encrypted in the same way. Nothing is thrown.
 */
Result<void, PDFWriteError> copyPDF(const Data& source, const PDFEdit& edit, const PDFSink& sink);

/** The source is no PDF that can be copied, for this reason. */
tl::unexpected<PDFWriteError> cannotOpen(std::string why);

} // namespace korvane
