#pragma once

#include "page/PDFRect.h"

#include <string>

namespace korvane {

/** What a document states about one of its pages. */
struct PageInfo {
    /** As the document states it, whatever the page's rotation. */
    PDFRect mediaBox;
    /** The text that can be copied from the page, UTF-8, in reading order. */
    std::string text;
    /** False for a page that the document counts but lacks. */
    bool exists = true;

    friend bool operator==(const PageInfo&, const PageInfo&) = default;
};

} // namespace korvane
