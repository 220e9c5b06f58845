#pragma once

#include <cstddef>

namespace korvane {

/** A page that consists of one raster image. */
struct RasterPage {
    enum class Color {
        sRGB,        ///< three bytes a pixel: red, green, blue
        linearGray,  ///< one byte a pixel, proportional to luminance
        gamma22Gray, ///< one byte a pixel, luminance being its power of 2.2
        black,       ///< one bit a pixel, the high one of a byte first: 1 is black
    };

    Color color = Color::sRGB;
    /** In pixels, both at least 1. */
    std::size_t width = 0;
    std::size_t height = 0;
    /** Pixels per inch, both at least 1. */
    std::size_t horizontalResolution = 0;
    std::size_t verticalResolution = 0;

    std::size_t bitsPerPixel() const
    {
        switch (color) {
        case Color::sRGB: return 24;
        case Color::black: return 1;
        default: return 8;
        }
    }

    /** In bytes; every row begins with a byte of its own. */
    std::size_t rowSize() const { return (width * bitsPerPixel() + 7) / 8; }
};

} // namespace korvane
