#pragma once

#include "base/Result.h"
#include "lib/qpdf/LayerFonts.h"
#include "lib/qpdf/PageTree.h"
#include "lib/qpdf/QPDFHeaders.h"
#include "page/PDFWriteError.h"
#include "page/PageTextLayer.h"

#include <cstddef>
#include <set>
#include <span>
#include <vector>

namespace korvane {

/** Adds text layers to the pages of one document. */
class LayerDrawing {
public:
    LayerDrawing(QPDF& pdf, std::span<const PageTextLayer> layers);

    /** Draws a layer, one of those above. A page that is in the document twice keeps its first:
     *  what is drawn on it shows in both places. */
    Result<void, PDFWriteError> draw(const SourcePage& page, const PageTextLayer& layer);

private:
    using Streams = std::vector<QPDFObjectHandle>;

    Result<Streams, PDFWriteError> contentsOf(QPDFObjectHandle page);

    QPDF& pdf_;
    LayerFonts fonts_;
    bool isTagged_;
    std::set<QPDFObjGen> drawn_;
    std::size_t copiedContents_ = 0;
};

} // namespace korvane
