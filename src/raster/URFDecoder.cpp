#include "raster/URFDecoder.h"

#include "ipp/DocumentFormat.h"
#include "raster/RasterReader.h"

#include <algorithm>
#include <array>
#include <variant>

namespace korvane::URFDecoder {

namespace {

using Color = RasterPage::Color;
using PixelFormat = RasterLayout::PixelFormat;

constexpr std::array shortHeaderFormats = {
    PixelFormat{24, 3, Color::sRGB, decodeLine<LineCode{.pixelSize = 3}>},
    PixelFormat{8, 1, Color::linearGray, decodeLine<LineCode{.pixelSize = 1}>}};

constexpr RasterLayout shortHeaders{.documentKind = "URF",
                                    .fileHeaderSize = 12,
                                    .pageCount = {8, 4},
                                    .end = RasterLayout::End::pageCount,
                                    .pageHeaderSize = 28,
                                    .bitsPerPixel = {0, 1},
                                    .colorSpace = {1, 1},
                                    .width = {8, 4},
                                    .height = {12, 4},
                                    .horizontalResolution = {16, 4},
                                    .verticalResolution = {16, 4},
                                    .pixelFormats = shortHeaderFormats};

constexpr LineCode longHeaderCode(std::size_t pixelSize)
{
    return {.pixelSize = pixelSize,
            .lowCodesRepeat = true,
            .fill = LineCode::Fill::white,
            .cutsLiterals = true};
}

constexpr std::array longHeaderFormats = {
    PixelFormat{24, 1, Color::sRGB, decodeLine<longHeaderCode(3)>},
    PixelFormat{8, 0, Color::gamma22Gray, decodeLine<longHeaderCode(1)>}};

constexpr std::array longHeaderConstants = {RasterLayout::Constant{"reserved", {24, 4}, 0},
                                            RasterLayout::Constant{"reserved", {28, 4}, 0}};

/** What libcups writes, and what phones and tablets send. */
constexpr RasterLayout longHeaders{.documentKind = "URF",
                                   .fileHeaderSize = 12,
                                   .pageCount = {8, 4},
                                   .end = RasterLayout::End::document,
                                   .pageHeaderSize = 32,
                                   .bitsPerPixel = {0, 1},
                                   .colorSpace = {1, 1},
                                   .width = {12, 4},
                                   .height = {16, 4},
                                   .horizontalResolution = {20, 4},
                                   .verticalResolution = {20, 4},
                                   .constants = longHeaderConstants,
                                   .pixelFormats = longHeaderFormats};

constexpr bool haveACommonFormat()
{
    return std::ranges::any_of(shortHeaderFormats, [](const PixelFormat& format) {
        return std::ranges::any_of(longHeaderFormats, [&](const PixelFormat& other) {
            return other.bitsPerPixel == format.bitsPerPixel &&
                   other.colorSpace == format.colorSpace;
        });
    });
}

// The first page header alone tells one layout from the other: no document begins with a page of
// both, so none has to be decoded in one layout to find out that it is in the other.
static_assert(!haveACommonFormat());

bool hasLongHeaders(const Data& document)
{
    RasterReader reader(longHeaders, document.bytes());
    return reader.readFileHeader() && reader.readPageHeader(0);
}

} // namespace

Result<std::uint64_t, Error> decodeToPDF(const Data& document, const BufferedOutput::Sink& output,
                                         const Limits& limits)
{
    if (!document.text().starts_with(urfMagic)) return failure(Error{Error::WrongMagic{}, "URF"});
    if (hasLongHeaders(document)) {
        auto pdf = decodeRaster(longHeaders, document, output, limits);
        if (pdf || std::holds_alternative<Error::NotWritten>(pdf.error().value)) return pdf;
    }
    // Where neither layout fits, this one's error is told.
    return decodeRaster(shortHeaders, document, output, limits);
}

} // namespace korvane::URFDecoder
