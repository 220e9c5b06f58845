#include "lib/qpdf/LayerDrawing.h"

#include "lib/qpdf/LayerContent.h"

#include <map>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** Pages may share an array of content streams, which each page with a layer needs to itself. */
constexpr std::size_t maxCopiedContents = 4'000'000;

auto cannotOpen(const char* why)
{
    return failure(PDFWriteError{PDFWriteError::Kind::cannotOpenSource, why});
}

/** Whether the document says that all its content has a place in its structure
 *  (ISO 32000-1, 14.7.1). */
bool isTagged(QPDF& pdf)
{
    QPDFObjectHandle marks = pdf.getRoot().getKey("/MarkInfo");
    if (!marks.isDictionary()) return false;
    QPDFObjectHandle isMarked = marks.getKey("/Marked");
    return isMarked.isBool() && isMarked.getBoolValue();
}

/** The dictionary that the page uses, its own or one shared with others. */
QPDFObjectHandle resourcesOf(const SourcePage& page)
{
    QPDFObjectHandle resources = page.resources;
    if (resources.isDictionary()) return resources;
    resources = QPDFObjectHandle::newDictionary();
    QPDFObjectHandle target = page.page;
    target.replaceKey("/Resources", resources);
    return resources;
}

} // namespace

LayerDrawing::LayerDrawing(QPDF& pdf, std::span<const PageTextLayer> layers)
    : pdf_(pdf), fonts_(pdf, layers), isTagged_(isTagged(pdf))
{
}

Result<void, PDFWriteError> LayerDrawing::draw(const SourcePage& page, const PageTextLayer& layer)
{
    QPDFObjectHandle target = page.page;
    if (target.isIndirect() && !drawn_.insert(target.getObjGen()).second) return {};
    auto contents = contentsOf(target);
    if (!contents) return failure(contents.error());

    const QPDFObjectHandle resources = resourcesOf(page);
    std::map<std::size_t, std::string> names;
    const auto fontName = [&](std::size_t font) {
        const auto known = names.find(font);
        if (known != names.end()) return known->second;
        return names.emplace(font, fonts_.enter(font, resources)).first->second;
    };
    const LayerPlacement placement{
        .box = page.box(), .quarterTurns = page.quarterTurns(), .isTagged = isTagged_};
    // The layer comes first: there the graphics state is the page's own, whatever the page does to
    // it later, and the layer leaves it as it was. Between brackets of ours, a page that closes
    // more states than it opens would come out differently. As nothing of the layer is painted,
    // nothing can cover it.
    contents->insert(
        contents->begin(),
        QPDFObjectHandle::newStream(&pdf_, layerContent(layer, placement, fonts_, fontName)));
    target.replaceKey("/Contents", QPDFObjectHandle::newArray(*contents));
    return {};
}

Result<LayerDrawing::Streams, PDFWriteError> LayerDrawing::contentsOf(QPDFObjectHandle page)
{
    QPDFObjectHandle contents = page.getKey("/Contents");
    if (contents.isNull()) return Streams();
    if (contents.isStream()) return Streams{contents};
    if (!contents.isArray()) return cannotOpen("a page has no readable content");
    Streams streams = contents.getArrayAsVector();
    copiedContents_ += streams.size();
    if (copiedContents_ > maxCopiedContents) return cannotOpen("too many content streams");
    return streams;
}

} // namespace korvane
