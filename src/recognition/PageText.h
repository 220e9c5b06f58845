#pragma once

#include "page/BitmapSize.h"
#include "page/PDFRect.h"
#include "recognition/OCRPage.h"

/** The text of a recognized page as OCR gives it. */
namespace korvane {

OCRSpan makeSpan(TextLine line);

/**
 * The size that a page has at `dpi` pixels per inch, given its media box and its bitmap at another
 * resolution, which tells whether it is shown on its side, and a lower one where it is too large.
 */
BitmapSize sizeAt(double dpi, const PDFRect& mediaBox, const BitmapSize& bitmap);

/** The same of a page that is shown upright. */
BitmapSize sizeAt(double dpi, const PDFRect& mediaBox);

} // namespace korvane
