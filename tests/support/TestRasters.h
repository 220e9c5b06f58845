#pragma once

#include "support/URFBuilder.h"

#include <algorithm>
#include <cstdint>

namespace korvane::test {

/** Pixels that no coding makes smaller. */
inline Raster noise(std::uint32_t width, std::uint32_t height, std::size_t bytesPerPixel)
{
    Raster raster{.width = width, .height = height, .bytesPerPixel = bytesPerPixel};
    std::uint32_t state = 7;
    for (std::uint8_t& byte : raster.pixels) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return raster;
}

/** A white page with a few grey bars of all widths and noise in its last rows. */
inline Raster letter(std::uint32_t width, std::uint32_t height, std::size_t bytesPerPixel,
                     std::uint32_t noisyRows = 0)
{
    Raster raster = noise(width, height, bytesPerPixel);
    const std::size_t end = (height - noisyRows) * raster.rowSize();
    std::fill_n(raster.pixels.begin(), end, std::uint8_t{255});
    std::size_t length = 1;
    for (std::size_t at = raster.rowSize(); at + length < end; at += 5 * length++ + 40) {
        std::fill_n(&raster.pixels[at], length, static_cast<std::uint8_t>(length));
    }
    return raster;
}

} // namespace korvane::test
