#pragma once

#include "base/ByteBuffer.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "lib/deflate/ZlibCompressor.h"
#include "pdf/PDFObjectWriter.h"
#include "raster/PixelStream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

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
 * Writes a PDF document (ISO 32000-1) of raster pages, keeping no more than one page in memory.
 * Every page shows one image, which fills it at the raster's resolution. Each operation may throw
 * std::bad_alloc, and the document is lost then.
 */
class RasterPDFWriter {
public:
    explicit RasterPDFWriter(BufferedOutput::Sink output);

    void beginPage(const RasterPage& page);

    /** The next `count` rows of the page from the top, all alike and each exactly as long as the
     * page is wide. */
    void addRows(std::span<const std::uint8_t> row, std::size_t count);

    /** Ends the page, all of whose rows have been added. Fails once the output has failed. */
    Result<void, SystemError> endPage();

    /** The bytes written so far; those of the page being added count from `endPage` on. */
    std::uint64_t size() const { return pdf_.size(); }

    /** Ends the document, and tells whether the output took all of it; the writer is used up. */
    Result<void, SystemError> finish();

private:
    using ObjectNumber = PDFObjectWriter::ObjectNumber;

    ObjectNumber colorSpace(RasterPage::Color color);
    ObjectNumber addImage();

    PDFObjectWriter pdf_;
    std::array<std::optional<ObjectNumber>, 2> colorSpaces_;
    RasterPage page_;
    PixelStream pixels_;
    ByteBuffer compressed_;
    ZlibCompressor compressor_;
};

} // namespace korvane
