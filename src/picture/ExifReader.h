#pragma once

#include "picture/Density.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace korvane {

/** What a camera says of its picture (Exif 2.32, section 4.6.4). */
struct ExifData {
    /** 1 to 8. */
    std::size_t orientation = 1;
    /** As it is stated, so perhaps not plausible. */
    std::optional<Density> density;
};

/** Reads a TIFF header with its first directory. What is damaged or missing is left out. */
ExifData readExif(std::span<const std::uint8_t> tiff);

} // namespace korvane
