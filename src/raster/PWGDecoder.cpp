#include "raster/PWGDecoder.h"

#include "ipp/DocumentFormat.h"

#include <array>

namespace korvane::PWGDecoder {

namespace {

using Color = RasterPage::Color;
using PixelFormat = RasterLayout::PixelFormat;

constexpr LineCode lineCode(std::size_t pixelSize, std::uint8_t white)
{
    return {.pixelSize = pixelSize,
            .lowCodesRepeat = true,
            .fill = LineCode::Fill::white,
            .white = white,
            .cutsLiterals = true};
}

/** sgray_8, srgb_8 and black_1. */
constexpr std::array pixelFormats = {
    PixelFormat{8, 18, Color::gamma22Gray, decodeLine<lineCode(1, 0xFF)>},
    PixelFormat{24, 19, Color::sRGB, decodeLine<lineCode(3, 0xFF)>},
    PixelFormat{1, 3, Color::black, decodeLine<lineCode(1, 0)>}};

constexpr std::array constants = {RasterLayout::Constant{"colorOrder", {396, 4}, 0}};

/** TotalPageCount is not looked at: writers that do not know it, or make copies, leave it wrong. */
constexpr RasterLayout layout{.documentKind = "PWG raster",
                              .fileHeaderSize = pwgRasterMagic.size(),
                              .end = RasterLayout::End::document,
                              .pageHeaderSize = 1796,
                              .bitsPerPixel = {388, 4},
                              .colorSpace = {400, 4},
                              .width = {372, 4},
                              .height = {376, 4},
                              .horizontalResolution = {276, 4},
                              .verticalResolution = {280, 4},
                              .bytesPerLine = {392, 4},
                              .constants = constants,
                              .pixelFormats = pixelFormats};

} // namespace

bool isPWGRaster(const Data& document)
{
    return document.text().starts_with(pwgRasterMagic);
}

Result<std::uint64_t, RasterError>
decodeToPDF(const Data& document, const BufferedOutput::Sink& output, const RasterLimits& limits)
{
    if (!isPWGRaster(document))
        return failure(RasterError{RasterError::WrongMagic{}, layout.documentKind});
    return decodeRaster(layout, document, output, limits);
}

} // namespace korvane::PWGDecoder
