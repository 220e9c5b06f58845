#pragma once

#include "base/ByteBuffer.h"
#include "base/Data.h"
#include "document/PixelStream.h"
#include "lib/deflate/ZlibCompressor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

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

/**
 * Writes a PDF document (ISO 32000-1) of raster pages into memory. Every page shows one image,
 * which fills it at the raster's resolution. Each operation may throw std::bad_alloc, and the
 * document is lost then.
 */
class RasterPDFWriter {
public:
    RasterPDFWriter();

    void beginPage(const RasterPage& page);

    /** The next `count` rows of the page from the top, all alike and each exactly as long as the
     * page is wide. */
    void addRows(std::span<const std::uint8_t> row, std::size_t count);

    /** Ends the page, all of whose rows have been added. */
    void endPage();

    /** The bytes written so far; those of the page being added count from `endPage` on. */
    std::size_t size() const { return pdf_.size(); }

    /** The complete document; the writer is used up. */
    Data finish();

private:
    /** Objects refer to each other by number, so one may be named before it is written. */
    using ObjectNumber = std::size_t;

    ObjectNumber newObject();
    void beginObject(ObjectNumber number);
    void endObject();
    ObjectNumber addObject(std::string_view content);
    ObjectNumber addStream(std::string_view entries, std::span<const std::uint8_t> content);
    ObjectNumber colorSpace(RasterPage::Color color);
    ObjectNumber addImage();

    ByteBuffer pdf_;
    std::vector<std::size_t> objectOffsets_;
    std::vector<ObjectNumber> pages_;
    std::array<std::optional<ObjectNumber>, 2> colorSpaces_;
    RasterPage page_;
    PixelStream pixels_;
    ByteBuffer compressed_;
    ZlibCompressor compressor_;
    ObjectNumber catalog_;
    ObjectNumber pageTree_;
};

} // namespace korvane
