#include "lib/tesseract/LoadedPage.h"

#include <cmath>

namespace korvane {

namespace {

/** From here on the measure can be relied on. */
constexpr double certainUprightness = 8;

} // namespace

bool LoadedPage::straighten(EngineCache& engines)
{
    const Leveling leveling = findLeveling(cleaned, size.resolution);
    geometry = leveling.geometry;
    lines = leveling.lines;
    straight = straightened(cleaned, geometry);
    if (!straight) return false;
    const double upright = uprightness(straight);
    if (lines == Leveling::Lines::uncertain || std::abs(upright) < certainUprightness) {
        correctOrientation(engines);
    } else if (upright < 0) {
        turn(2);
    }
    return static_cast<bool>(straight);
}

bool LoadedPage::correctOrientation(EngineCache& engines)
{
    if (orientation || lines == Leveling::Lines::none) return false;
    orientation = detectOrientation(engines, straight.gray, size.resolution);
    return orientation->quarterTurns != 0 && turn(orientation->quarterTurns);
}

bool LoadedPage::turn(int quarterTurns)
{
    geometry = turnedFurther(geometry, quarterTurns);
    straight = straightened(cleaned, geometry);
    return static_cast<bool>(straight);
}

} // namespace korvane
