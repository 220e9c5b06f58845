#pragma once

#include "platform/pdf/PDFRect.h"

#include <memory>
#include <string>
#include <vector>

namespace korvane {

class PageImage;

/** One recognised line of text. */
struct OCRSpan {
    /** As recognised, not trimmed. */
    std::string text;
    /** On the page as it is read, its lower-left corner being (0, 0). */
    PDFRect rect;

    friend bool operator==(const OCRSpan&, const OCRSpan&) = default;
};

/** What became of one page. */
struct OCRPageResult {
    /** The media box, as the PDF states it. */
    PDFRect pageRect;
    /** Absent for a page whose existing text layer was used or which could not be rendered. */
    std::shared_ptr<const PageImage> pageImage;
    /** In the recogniser's order. */
    std::vector<OCRSpan> spans;
    std::string plainText;
    /** How many quarter turns clockwise the page as it is shown needs for its words to stand
     *  upright; the spans' rectangles are those of the page so turned. */
    int readingTurns = 0;
};

} // namespace korvane
