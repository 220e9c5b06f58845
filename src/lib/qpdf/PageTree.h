#pragma once

#include "base/Result.h"
#include "lib/qpdf/QPDFHeaders.h"
#include "page/PDFRect.h"
#include "page/PDFWriteError.h"

#include <vector>

namespace korvane {

/** One page, with what it may inherit from the tree above it (ISO 32000-1, 7.7.3.4). */
struct SourcePage {
    QPDFObjectHandle page;
    QPDFObjectHandle resources;
    QPDFObjectHandle mediaBox;
    QPDFObjectHandle rotation;

    /** Normalized; letter size when there is none, as viewers have it. */
    PDFRect box() const;

    /** Clockwise, 0 to 3. */
    int quarterTurns() const;
};

/**
 * The pages in order. Fails on a tree that is no tree: with a loop, with a branch in two places,
 * or so deep that QPDF, which climbs it recursively when it writes, could run out of stack.
 */
Result<std::vector<SourcePage>, PDFWriteError> readPages(QPDF& pdf);

} // namespace korvane
