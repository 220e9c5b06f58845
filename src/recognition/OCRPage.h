#pragma once

#include "page/BitmapSize.h"
#include "page/PDFRect.h"
#include "page/TextLine.h"

#include <optional>
#include <string>
#include <vector>

namespace korvane {

/** One recognized line of text. */
struct OCRSpan {
    /** The words, with one space between two. */
    std::string text;
    /** The smallest upright rectangle around the line, on the page as it is shown, the lower-left
     *  corner of its media box being (0, 0). */
    PDFRect rect;
    /** Where each word is. */
    TextLine line;

    friend bool operator==(const OCRSpan&, const OCRSpan&) = default;
};

/** The text of one page. */
struct OCRPageResult {
    /** The media box, as the PDF states it. */
    PDFRect pageRect;
    /** The page's size at the resolution asked for; absent for a page whose existing text layer was
     *  used or which could not be rendered. */
    std::optional<BitmapSize> pageImage;
    /** In reading order. */
    std::vector<OCRSpan> spans;
    std::string plainText;
    /** The language that it was recognized in, as Tesseract names it; empty for a page that was
     * not.
     */
    std::string language = {};
};

} // namespace korvane
