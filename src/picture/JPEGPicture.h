#pragma once

#include "picture/Density.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvane {

/** What a JPEG file says of the picture in it, the first one if there are several. */
struct JPEGPicture {
    /** In pixels, at least 1, as they are stored: before it is turned. */
    std::size_t width = 0;
    std::size_t height = 0;
    /** 1 for gray, 3 for YCbCr or RGB, 4 for CMYK or YCCK. */
    std::size_t components = 0;
    /** Three components that are red, green and blue themselves, which no marker says. */
    bool isPlainRGB = false;
    /** CMYK as Adobe writes it: 255 is no ink. */
    bool isInverted = false;
    /** How it is to be turned and mirrored, 1 to 8 (Exif 2.32, tag 274). */
    std::size_t orientation = 1;
    Density density;
    /** An ICC profile for so many components; empty without one. */
    std::vector<std::uint8_t> profile;
};

} // namespace korvane
