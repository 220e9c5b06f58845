#pragma once

#include <array>

namespace korvane {

/** A page that one image fills. */
struct ImagePage {
    /** Turns and mirrors the square from 0 to 1 into itself, as ISO 32000-1, 8.3.4 writes it. */
    using Turn = std::array<double, 6>;

    /** In points. */
    double width = 0;
    double height = 0;
    /** The smaller side of a pixel of the image, in points. */
    double pixel = 0;
    Turn turn = {1, 0, 0, 1, 0, 0};
};

} // namespace korvane
