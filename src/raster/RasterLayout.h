#pragma once

#include "raster/LineCode.h"
#include "raster/RasterPage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace korvane {

/**
 * Where a kind of raster document has what. All kinds are a file header and pages back to back;
 * a page is a header and line groups: a byte for how many rows less one a line stands for, and the
 * line (raster/LineCode.h). Numbers are unsigned, the high byte first.
 */
struct RasterLayout {
    /** A number in a header. */
    struct Number {
        std::size_t offset = 0;
        /** In bytes, at most 4; 0 when the header has no such number. */
        std::size_t size = 0;
    };

    /** A number in the page header that has to have one value. */
    struct Constant {
        std::string_view name;
        Number place;
        std::uint32_t value = 0;
    };

    /** What pixels may be. */
    struct PixelFormat {
        std::uint32_t bitsPerPixel = 0;
        std::uint32_t colorSpace = 0;
        RasterPage::Color color = RasterPage::Color::sRGB;
        LineDecoder decodeLine = nullptr;
    };

    enum class End {
        pageCount, ///< after as many pages as the file header says, at least one; the rest is
                   ///< ignored
        document,  ///< with the last byte; a page count of the file header is 0, or right
    };

    /** As errors name it. */
    std::string_view documentKind;
    std::size_t fileHeaderSize = 0;
    Number pageCount;
    End end = End::document;

    std::size_t pageHeaderSize = 0;
    Number bitsPerPixel;
    Number colorSpace;
    Number width;
    Number height;
    Number horizontalResolution;
    Number verticalResolution;
    Number bytesPerLine;
    std::span<const Constant> constants;
    std::span<const PixelFormat> pixelFormats;
};

} // namespace korvane
