#include "lib/qpdf/PageTree.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxDepth = 100;
constexpr std::size_t maxPages = 1'000'000;
constexpr PDFRect letter{0, 0, 612, 792};

/** A branch of the tree on the way down, and which of its kids comes next. */
struct Branch {
    SourcePage inherited;
    QPDFObjectHandle kids;
    int next = 0;
};

SourcePage inheriting(const SourcePage& above, QPDFObjectHandle node)
{
    const auto pick = [&node](const char* key, const QPDFObjectHandle& inherited) {
        return node.hasKey(key) ? node.getKey(key) : inherited;
    };
    return {.page = node,
            .resources = pick("/Resources", above.resources),
            // What is no box does not hide the one above it, nor does it from a viewer.
            .mediaBox =
                node.getKey("/MediaBox").isRectangle() ? node.getKey("/MediaBox") : above.mediaBox,
            .rotation = pick("/Rotate", above.rotation)};
}

bool isPage(QPDFObjectHandle node)
{
    return node.isDictionaryOfType("/Page") || !node.hasKey("/Kids");
}

auto damaged(const char* what)
{
    return failure(PDFWriteError{PDFWriteError::Kind::cannotOpenSource, what});
}

} // namespace

PDFRect SourcePage::box() const
{
    QPDFObjectHandle array = mediaBox;
    if (!array.isRectangle()) return letter;
    const QPDFObjectHandle::Rectangle corners = array.getArrayAsRectangle();
    const PDFRect rect{.x = corners.llx,
                       .y = corners.lly,
                       .width = corners.urx - corners.llx,
                       .height = corners.ury - corners.lly};
    const bool isUsable = std::isfinite(rect.x) && std::isfinite(rect.y) &&
                          std::isfinite(rect.width) && std::isfinite(rect.height) &&
                          rect.width > 0 && rect.height > 0;
    return isUsable ? rect : letter;
}

int SourcePage::quarterTurns() const
{
    QPDFObjectHandle angle = rotation;
    if (!angle.isInteger()) return 0;
    const long long degrees = angle.getIntValue() % 360;
    return degrees % 90 == 0 ? static_cast<int>((degrees + 360) / 90 % 4) : 0;
}

Result<std::vector<SourcePage>, PDFWriteError> readPages(QPDF& pdf)
{
    const QPDFObjectHandle none = QPDFObjectHandle::newNull();
    const SourcePage nothing{none, none, none, none};
    std::vector<SourcePage> pages;
    std::vector<Branch> path;
    std::set<QPDFObjGen> branches;
    QPDFObjectHandle node = pdf.getRoot().getKey("/Pages");
    for (;;) {
        if (!node.isDictionary()) return damaged("a page is missing");
        SourcePage here = inheriting(path.empty() ? nothing : path.back().inherited, node);
        if (isPage(node)) {
            if (pages.size() == maxPages) return damaged("too many pages");
            pages.push_back(std::move(here));
        } else {
            if (path.size() == maxDepth) return damaged("the page tree is too deep");
            const bool isNew = !node.isIndirect() || branches.insert(node.getObjGen()).second;
            QPDFObjectHandle kids = node.getKey("/Kids");
            if (!isNew || !kids.isArray()) return damaged("the page tree is no tree");
            path.push_back({.inherited = std::move(here), .kids = kids});
        }
        while (!path.empty() && path.back().next >= path.back().kids.getArrayNItems()) {
            path.pop_back();
        }
        if (path.empty()) return pages;
        node = path.back().kids.getArrayItem(path.back().next++);
    }
}

} // namespace korvane
