#include "lib/qpdf/PageSelection.h"

#include "lib/qpdf/DocumentSafety.h"
#include "lib/qpdf/PDFCopy.h"

#include <cstddef>
#include <set>

namespace korvane {

namespace {

/** Has links, bookmarks and whatever else names one of these pages name nothing. */
void dropPages(QPDF& pdf, const std::vector<QPDFObjectHandle>& pages,
               const std::set<QPDFObjGen>& kept)
{
    for (const QPDFObjectHandle& page : pages) {
        const QPDFObjGen id = page.getObjGen();
        if (!kept.contains(id)) pdf.replaceObject(id, QPDFObjectHandle::newNull());
    }
}

Result<void, PDFWriteError> selectPages(QPDF& pdf, const std::vector<PageRange>& ranges)
{
    if (pdf.anyWarnings() && lacksObjects(pdf)) return cannotOpen("the file is damaged");
    // The tree is flattened: what pages inherit is their own, and all of them are objects.
    pdf.pushInheritedAttributesToPage();
    const std::vector<QPDFObjectHandle> pages = pdf.getAllPages();
    QPDFObjectHandle root = pdf.getRoot().getKey("/Pages");
    QPDFObjectHandle kids = QPDFObjectHandle::newArray();
    std::vector<QPDFObjectHandle> dropped;
    std::set<QPDFObjGen> kept;
    for (std::size_t index = 0; index < pages.size(); ++index) {
        QPDFObjectHandle page = pages[index];
        if (!contains(ranges, index + 1)) {
            dropped.push_back(page);
            continue;
        }
        page.replaceKey("/Parent", root);
        kids.appendItem(page);
        kept.insert(page.getObjGen());
    }
    if (kept.empty()) return cannotOpen("it has none of the pages that are wanted");
    dropPages(pdf, dropped, kept);
    root.replaceKey("/Count", QPDFObjectHandle::newInteger(kids.getArrayNItems()));
    root.replaceKey("/Kids", kids);
    pdf.getRoot().removeKey("/PageLabels"); // They count pages.
    return {};
}

} // namespace

Result<void, PDFWriteError>
writeSelectedPages(const Data& source, const std::vector<PageRange>& ranges, const PDFSink& sink)
{
    return copyPDF(
        source,
        [&](QPDF& pdf, const std::vector<SourcePage>& /*pages*/) {
            return selectPages(pdf, ranges);
        },
        sink);
}

} // namespace korvane
