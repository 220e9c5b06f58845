#pragma once

#include "lib/tesseract/EngineCache.h"
#include "lib/tesseract/Pixels.h"

#include <string>

namespace korvane {

/** The orientation and the script of a page, as far as they are certain. */
struct Orientation {
    /** Quarter turns clockwise that set the page upright, 0 to 3. */
    int quarterTurns = 0;
    /** As Tesseract names it: "Latin", "Cyrillic", "Han"; empty when unknown. */
    std::string script;
};

/** Detects them by the shapes of the letters. Unknown where the data for it ("osd") is missing and
 *  on pages with few letters. */
Orientation detectOrientation(EngineCache& engines, const OwnedPix& gray, double resolution);

} // namespace korvane
