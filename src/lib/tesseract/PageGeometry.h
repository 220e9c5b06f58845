#pragma once

namespace korvane {

struct PixelPoint {
    double x = 0;
    double y = 0;
};

/** A point of a page: in points from the lower-left corner, y growing upwards. */
struct PagePoint {
    double x = 0;
    double y = 0;
};

/**
 * How a straightened bitmap came from the page as it was rendered, and with it the way back. The
 * steps in their order: quarter turns, a rotation by a few degrees about the center of a bitmap
 * that was enlarged for it, and a shift of each column that levels lines which a camera saw fan
 * out. All in pixels, rows counted downwards.
 */
struct PageGeometry {
    /** Of the page as it was rendered. */
    int width = 0;
    int height = 0;
    /** Pixels per inch. */
    double resolution = 0;
    /** Clockwise, 0 to 3. */
    int quarterTurns = 0;

    /** Clockwise, in radians; 0 when the bitmap was not rotated. */
    double rotation = 0;
    /** Of the bitmap that was rotated. */
    int rotatedWidth = 0;
    int rotatedHeight = 0;

    /** A line at the height y rises by `fanOffset + fanSlope * y` pixels a pixel before it is
     *  leveled, about the middle column. */
    double fanOffset = 0;
    double fanSlope = 0;

    bool isFanned() const { return fanOffset != 0 || fanSlope != 0; }

    /** Where a pixel of the straightened bitmap is on the page. */
    PagePoint onPage(PixelPoint straightened) const;

private:
    PixelPoint beforeLeveling(PixelPoint point) const;
    PixelPoint beforeRotation(PixelPoint point) const;
    PixelPoint beforeTurns(PixelPoint point) const;
};

} // namespace korvane
