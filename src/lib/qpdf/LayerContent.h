#pragma once

#include "lib/qpdf/LayerFonts.h"
#include "page/PDFRect.h"
#include "page/PageTextLayer.h"

#include <functional>
#include <string>

namespace korvane {

/** Where and how the layer of one page is drawn. */
struct LayerPlacement {
    /** The page's media box. */
    PDFRect box;
    /** Clockwise, from the page as it is stored to the page as it is shown; 0 to 3. */
    int quarterTurns = 0;
    /** Whether the document is tagged. */
    bool isTagged = false;
};

/** The operators that draw a layer. `fontName` gives the name of a font in the page's resources. */
std::string layerContent(const PageTextLayer& layer, const LayerPlacement& placement,
                         const LayerFonts& fonts,
                         const std::function<std::string(std::size_t font)>& fontName);

} // namespace korvane
