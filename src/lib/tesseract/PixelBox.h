#pragma once

#include "lib/tesseract/PageGeometry.h"

namespace korvane {

/** A part of a bitmap; rows count downwards, `right` and `bottom` lie outside. */
struct PixelBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    PixelPoint center() const { return {.x = (left + right) / 2.0, .y = (top + bottom) / 2.0}; }

    bool contains(PixelPoint point) const
    {
        return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
    }

    /** With a margin on every side. */
    PixelBox grownBy(int margin) const
    {
        return {.left = left - margin,
                .top = top - margin,
                .right = right + margin,
                .bottom = bottom + margin};
    }
};

} // namespace korvane
