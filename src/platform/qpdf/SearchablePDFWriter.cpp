#include "platform/qpdf/SearchablePDFWriter.h"

#include "platform/qpdf/DocumentSafety.h"
#include "platform/qpdf/LayerContent.h"
#include "platform/qpdf/LayerFonts.h"
#include "platform/qpdf/PageTree.h"
#include "platform/qpdf/QPDFHeaders.h"
#include "platform/qpdf/SinkPipeline.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

namespace {

using Kind = PDFWriteError::Kind;

/** Pages may share an array of content streams, which each page with a layer needs to itself. */
constexpr std::size_t mostCopiedContents = 4'000'000;

auto cannotOpen(std::string why)
{
    return failure(PDFWriteError{Kind::cannotOpenSource, std::move(why)});
}

/** Adds the text layers to the pages of one document. */
class LayerDrawing {
public:
    LayerDrawing(QPDF& pdf, std::span<const PageTextLayer> layers)
        : pdf_(pdf), fonts_(pdf, layers),
          isTagged_(pdf.getRoot().getKey("/MarkInfo").isDictionary() &&
                    pdf.getRoot().getKey("/MarkInfo").getKey("/Marked").isBool() &&
                    pdf.getRoot().getKey("/MarkInfo").getKey("/Marked").getBoolValue())
    {
    }

    Result<void, PDFWriteError> draw(const SourcePage& page, const PageTextLayer& layer)
    {
        // A page that is in the document twice shows the same layer twice.
        if (page.page.isIndirect() && !drawn_.insert(page.page.getObjGen()).second) return {};
        auto contents = contentsOf(page.page);
        if (!contents) return failure(contents.error());

        QPDFObjectHandle resources = resourcesOf(page);
        const LayerPlacement placement{.box = page.box(),
                                       .quarterTurns = page.quarterTurns() + turnsOf(layer),
                                       .isTagged = isTagged_};
        std::map<std::size_t, std::string> names;
        const auto fontName = [&](std::size_t font) {
            const auto known = names.find(font);
            if (known != names.end()) return known->second;
            return names.emplace(font, fonts_.enter(font, resources)).first->second;
        };
        // The layer comes first: there the graphics state is the page's own, whatever the page does
        // to it later, and the layer leaves it as it was. A page that closes more states than it
        // opens would come out differently inside brackets of ours. As nothing of the layer is
        // painted, nothing can cover it.
        contents->insert(
            contents->begin(),
            QPDFObjectHandle::newStream(&pdf_, layerContent(layer, placement, fonts_, fontName)));
        QPDFObjectHandle target = page.page;
        target.replaceKey("/Contents", QPDFObjectHandle::newArray(*contents));
        return {};
    }

private:
    static int turnsOf(const PageTextLayer& layer) { return (layer.quarterTurns % 4 + 4) % 4; }

    Result<std::vector<QPDFObjectHandle>, PDFWriteError> contentsOf(QPDFObjectHandle page)
    {
        QPDFObjectHandle contents = page.getKey("/Contents");
        if (contents.isStream()) return std::vector{contents};
        if (contents.isNull()) return std::vector<QPDFObjectHandle>();
        if (!contents.isArray()) return cannotOpen("a page has no readable content");
        std::vector<QPDFObjectHandle> streams = contents.getArrayAsVector();
        copiedContents_ += streams.size();
        if (copiedContents_ > mostCopiedContents) return cannotOpen("too many content streams");
        return streams;
    }

    /** The dictionary that the page uses, its own or one shared with others. */
    static QPDFObjectHandle resourcesOf(const SourcePage& page)
    {
        QPDFObjectHandle resources = page.resources;
        if (resources.isDictionary()) return resources;
        resources = QPDFObjectHandle::newDictionary();
        QPDFObjectHandle target = page.page;
        target.replaceKey("/Resources", resources);
        return resources;
    }

    QPDF& pdf_;
    LayerFonts fonts_;
    bool isTagged_;
    std::set<QPDFObjGen> drawn_;
    std::size_t copiedContents_ = 0;
};

void open(QPDF& pdf, const Data& source)
{
    const auto silent = QPDFLogger::create();
    silent->setInfo(silent->discard());
    silent->setWarn(silent->discard());
    silent->setError(silent->discard());
    pdf.setLogger(silent);
    pdf.setSuppressWarnings(true);
    const std::string_view bytes = source.text();
    pdf.processMemoryFile("", bytes.data(), bytes.size());
}

/** Why a document may not be rewritten, if so. */
Result<void, PDFWriteError> check(QPDF& pdf, std::size_t pageCount, std::size_t layerCount)
{
    if (!readObjects(pdf)) return cannotOpen("too many objects or too damaged");
    if (isSigned(pdf)) return failure(PDFWriteError{Kind::sourceIsSigned, ""});
    if (layerCount > pageCount) return cannotOpen("there are fewer pages than were read");
    if (!pdf.anyWarnings()) return {};
    if (pageCount != layerCount || lacksObjects(pdf)) return cannotOpen("the file is damaged");
    return {};
}

void replaceInformation(QPDF& pdf, const DocumentInformation& information)
{
    QPDFObjectHandle entries = QPDFObjectHandle::newDictionary();
    for (const auto& [key, value] : information) {
        entries.replaceKey("/" + key, QPDFObjectHandle::newUnicodeString(value));
    }
    pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(entries));
    // The same told in XMP would now contradict it, as would a claim there to be an archive file,
    // which may not rely on a viewer's Helvetica.
    pdf.getRoot().removeKey("/Metadata");
}

Result<void, PDFWriteError> write(QPDF& pdf, const PDFSink& sink)
{
    SinkPipeline output(sink);
    QPDFWriter writer(pdf);
    writer.setOutputPipeline(&output);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setObjectStreamMode(qpdf_o_preserve);
    writer.setMinimumPDFVersion("1.3");
    const std::size_t warnings = pdf.numWarnings();
    writer.write();
    if (pdf.numWarnings() != warnings) return cannotOpen("the file is damaged");
    return output.close().map_error([](const SystemError& error) {
        return PDFWriteError{Kind::cannotWrite, error.description()};
    });
}

Result<void, PDFWriteError> rewrite(QPDF& pdf, std::span<const PageTextLayer> layers,
                                    const DocumentInformation& information, const PDFSink& sink)
{
    const auto pages = readPages(pdf);
    if (!pages) return failure(pages.error());
    if (auto fine = check(pdf, pages->size(), layers.size()); !fine) return fine;
    keepStreams(pdf);

    LayerDrawing drawing(pdf, layers);
    for (std::size_t index = 0; index < layers.size(); ++index) {
        if (layers[index].lines.empty()) continue;
        if (auto drawn = drawing.draw((*pages)[index], layers[index]); !drawn) return drawn;
    }
    replaceInformation(pdf, information);
    return write(pdf, sink);
}

} // namespace

Result<void, PDFWriteError> writeSearchablePDF(const Data& source,
                                               std::span<const PageTextLayer> layers,
                                               const DocumentInformation& information,
                                               const PDFSink& sink)
{
    try {
        QPDF pdf;
        open(pdf, source);
        return rewrite(pdf, layers, information, sink);
    } catch (const std::bad_alloc&) {
        return cannotOpen("it takes too much memory");
    } catch (const QPDFExc& exception) {
        return cannotOpen(exception.getMessageDetail());
    } catch (const std::exception& exception) {
        return cannotOpen(exception.what());
    }
}

} // namespace korvane
