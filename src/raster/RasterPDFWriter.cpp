#include "raster/RasterPDFWriter.h"

#include "raster/ICCProfile.h"
#include "raster/RunDeflate.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** Measured on pages of text: a level more gains little, and from 8 on costs a multiple. */
constexpr int compressionLevel = 6;

/** Differences that runs alone make so many times smaller are text on colored paper, no photograph:
 *  the search for what repeats in the rest takes little, and makes it smaller still. */
constexpr std::size_t mostlyRuns = 12;

/** In points; the product is exact. */
double pointSize(std::size_t pixels, std::size_t resolution)
{
    return static_cast<double>(pixels * 72) / static_cast<double>(resolution);
}

/** What the values of a color that has a profile mean. */
struct ColorProfile {
    std::size_t components = 1;
    Data (*make)() = nullptr;
};

ColorProfile colorProfile(RasterPage::Color color)
{
    switch (color) {
    case RasterPage::Color::linearGray: return {1, icc::linearGrayProfile};
    case RasterPage::Color::gamma22Gray: return {1, icc::gamma22GrayProfile};
    default: return {3, icc::sRGBProfile};
    }
}

} // namespace

RasterPDFWriter::RasterPDFWriter(BufferedOutput::Sink output)
    : pdf_(std::move(output)), compressor_(compressionLevel)
{
}

void RasterPDFWriter::beginPage(const RasterPage& page)
{
    page_ = page;
    pixels_.begin(page);
}

void RasterPDFWriter::addRows(std::span<const std::uint8_t> row, std::size_t count)
{
    pixels_.append(row, count);
}

Result<void, SystemError> RasterPDFWriter::endPage()
{
    const double across = pointSize(1, page_.horizontalResolution);
    const double down = pointSize(1, page_.verticalResolution);
    pdf_.addPage({.width = pointSize(page_.width, page_.horizontalResolution),
                  .height = pointSize(page_.height, page_.verticalResolution),
                  .pixel = std::min(across, down)},
                 addImage());
    return pdf_.status();
}

Result<void, SystemError> RasterPDFWriter::finish()
{
    return pdf_.finish();
}

std::string RasterPDFWriter::colorEntries(RasterPage::Color color)
{
    if (color == RasterPage::Color::black)
        return "/ColorSpace /DeviceGray /BitsPerComponent 1 /Decode [1 0]";
    return fmt::format("/ColorSpace {} 0 R /BitsPerComponent 8", colorSpace(color));
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::colorSpace(RasterPage::Color color)
{
    const auto [place, isNew] = colorSpaces_.try_emplace(color);
    if (isNew) {
        const ColorProfile profile = colorProfile(color);
        place->second = pdf_.addColorSpace(profile.components, profile.make().bytes());
    }
    return place->second;
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::addImage()
{
    pixels_.end();
    std::string filter;
    if (pixels_.isRunLengthCoded()) {
        filter = "[/FlateDecode /RunLengthDecode]";
        compressor_.compress(pixels_.bytes(), compressed_);
    } else {
        filter = fmt::format("/FlateDecode /DecodeParms << /Predictor 12 /Colors {} /Columns {} >>",
                             page_.bitsPerPixel() / 8, page_.width);
        rundeflate::compress(pixels_.bytes(), compressed_);
        if (compressed_.size() < pixels_.bytes().size() / mostlyRuns) {
            compressed_.consume(compressed_.size());
            compressor_.compress(pixels_.bytes(), compressed_);
        }
    }
    const ObjectNumber image =
        pdf_.addStream(fmt::format("/Type /XObject /Subtype /Image /Width {} /Height {} {}"
                                   " /Interpolate true /Filter {}",
                                   page_.width, page_.height, colorEntries(page_.color), filter),
                       compressed_.bytes());
    compressed_.consume(compressed_.size());
    return image;
}

} // namespace korvane
