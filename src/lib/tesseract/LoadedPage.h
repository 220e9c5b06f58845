#pragma once

#include "lib/tesseract/Orientation.h"
#include "lib/tesseract/PagePreparation.h"
#include "page/BitmapSize.h"

#include <optional>

namespace korvane {

/** A page that is being recognized, in one language after the other. */
struct LoadedPage {
    BitmapSize size;
    CleanedPage cleaned;
    PageGeometry geometry;
    Leveling::Lines lines = Leveling::Lines::none;
    /** Nothing until the page has been straightened. */
    CleanedPage straight;
    /** What the detection found, once it was asked. */
    std::optional<Orientation> orientation;

    /** Levels the lines and, as far as the letters tell, sets them upright. False when there is no
     *  memory for it. */
    bool straighten(EngineCache& engines);

    /** Detects the orientation of the straightened page, unless that was done or there are no
     *  lines, and turns it accordingly. Whether it was turned. */
    bool correctOrientation(EngineCache& engines);

private:
    bool turn(int quarterTurns);
};

} // namespace korvane
