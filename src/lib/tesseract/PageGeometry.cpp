#include "lib/tesseract/PageGeometry.h"

#include <cmath>
#include <utility>

namespace korvane {

PixelPoint PageGeometry::beforeLeveling(PixelPoint point) const
{
    const double middle = rotatedWidth / 2.0;
    return {point.x, point.y + (fanOffset + fanSlope * point.y) * (point.x - middle)};
}

/** As Leptonica rotates: the bitmap is centered in the larger one, and turned about whole pixels.
 */
PixelPoint PageGeometry::beforeRotation(PixelPoint point) const
{
    if (rotation == 0) return point;
    const bool isTurned = quarterTurns % 2 != 0;
    const int turnedWidth = isTurned ? height : width;
    const int turnedHeight = isTurned ? width : height;
    const int centerX = rotatedWidth / 2;
    const int centerY = rotatedHeight / 2;
    const double dx = point.x - centerX;
    const double dy = point.y - centerY;
    const double cosine = std::cos(rotation);
    const double sine = std::sin(rotation);
    const int marginX = (rotatedWidth - turnedWidth) / 2;
    const int marginY = (rotatedHeight - turnedHeight) / 2;
    return {centerX + dx * cosine + dy * sine - marginX,
            centerY + dy * cosine - dx * sine - marginY};
}

PixelPoint PageGeometry::beforeTurns(PixelPoint point) const
{
    switch (quarterTurns) {
    case 1: return {point.y, height - point.x};
    case 2: return {width - point.x, height - point.y};
    case 3: return {width - point.y, point.x};
    default: return point;
    }
}

PagePoint PageGeometry::onPage(PixelPoint straightened) const
{
    const PixelPoint rendered = beforeTurns(beforeRotation(beforeLeveling(straightened)));
    const double pointsPerPixel = 72 / resolution;
    return {rendered.x * pointsPerPixel, (height - rendered.y) * pointsPerPixel};
}

} // namespace korvane
