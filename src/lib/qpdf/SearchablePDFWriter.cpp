#include "lib/qpdf/SearchablePDFWriter.h"

#include "lib/qpdf/DocumentSafety.h"
#include "lib/qpdf/LayerDrawing.h"
#include "lib/qpdf/Metadata.h"
#include "lib/qpdf/PDFCopy.h"

#include <cstddef>

namespace korvane {

namespace {

/** Whether the layers are those of the document's pages as they were read. */
Result<void, PDFWriteError> check(QPDF& pdf, std::size_t pageCount, std::size_t layerCount)
{
    if (layerCount > pageCount) return cannotOpen("there are fewer pages than were read");
    if (!pdf.anyWarnings()) return {};
    if (pageCount != layerCount || lacksObjects(pdf)) return cannotOpen("the file is damaged");
    return {};
}

} // namespace

Result<void, PDFWriteError> writeSearchablePDF(const Data& source,
                                               std::span<const PageTextLayer> layers,
                                               const DocumentInformation& information,
                                               const PDFSink& sink)
{
    const auto addLayers =
        [&](QPDF& pdf, const std::vector<SourcePage>& pages) -> Result<void, PDFWriteError> {
        if (auto fine = check(pdf, pages.size(), layers.size()); !fine) return fine;
        LayerDrawing drawing(pdf, layers);
        for (std::size_t index = 0; index < layers.size(); ++index) {
            if (layers[index].lines.empty()) continue;
            if (auto drawn = drawing.draw(pages[index], layers[index]); !drawn) return drawn;
        }
        updateMetadata(pdf, information);
        return {};
    };
    return copyPDF(source, addLayers, sink);
}

} // namespace korvane
