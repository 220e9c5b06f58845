#pragma once

#include "platform/pdf/PDFRect.h"

#include <string>

namespace korvane {

/** What a document says of one of its pages. */
struct PageInfo {
    /** As the document states it, whatever the page's rotation. */
    PDFRect mediaBox;
    /** Quarter turns clockwise by which a viewer turns the page to show it: 0 to 3. */
    int rotation = 0;
    /** The text that can be copied from the page, UTF-8, in reading order. */
    std::string text;
    /** False for a page that the document counts but does not have. */
    bool exists = true;

    friend bool operator==(const PageInfo&, const PageInfo&) = default;
};

} // namespace korvane
