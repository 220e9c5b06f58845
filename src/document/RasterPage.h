#pragma once

#include <cstddef>

namespace korvane {

/** A page that consists of one raster image. */
struct RasterPage {
    enum class Color {
        sRGB,       ///< three bytes a pixel: red, green, blue
        linearGray, ///< one byte a pixel, proportional to luminance
    };

    Color color = Color::sRGB;
    /** In pixels, both at least 1. */
    std::size_t width = 0;
    std::size_t height = 0;
    /** Pixels per inch, at least 1. */
    std::size_t resolution = 0;

    std::size_t bytesPerPixel() const { return color == Color::sRGB ? 3 : 1; }
};

} // namespace korvane
