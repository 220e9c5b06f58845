#include "raster/RasterPDFWriter.h"

#include "raster/ICCProfile.h"

#include <fmt/format.h>

#include <string>
#include <utility>

namespace korvane {

namespace {

/** Measured on pages of text: a level more gains little, and from 8 on costs a multiple. */
constexpr int compressionLevel = 6;

/** In points; the product is exact. */
double pointSize(std::size_t pixels, std::size_t resolution)
{
    return static_cast<double>(pixels * 72) / static_cast<double>(resolution);
}

} // namespace

RasterPDFWriter::RasterPDFWriter(BufferedOutput::Sink output)
    : pdf_(std::move(output)), compressor_(compressionLevel)
{
}

void RasterPDFWriter::beginPage(const RasterPage& page)
{
    page_ = page;
    pixels_.begin(page.width * page.bytesPerPixel() * page.height);
}

void RasterPDFWriter::addRows(std::span<const std::uint8_t> row, std::size_t count)
{
    pixels_.append(row, count);
}

Result<void, SystemError> RasterPDFWriter::endPage()
{
    pdf_.addPage({.width = pointSize(page_.width, page_.resolution),
                  .height = pointSize(page_.height, page_.resolution),
                  .pixel = pointSize(1, page_.resolution)},
                 addImage());
    return pdf_.status();
}

Result<void, SystemError> RasterPDFWriter::finish()
{
    return pdf_.finish();
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::colorSpace(RasterPage::Color color)
{
    std::optional<ObjectNumber>& known = colorSpaces_[static_cast<std::size_t>(color)];
    if (!known) {
        known = color == RasterPage::Color::linearGray
                    ? pdf_.addColorSpace(1, icc::linearGrayProfile().bytes())
                    : pdf_.addColorSpace(3, icc::sRGBProfile().bytes());
    }
    return *known;
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::addImage()
{
    pixels_.end();
    compressor_.compress(pixels_.bytes(), compressed_);
    const ObjectNumber image = pdf_.addStream(
        fmt::format("/Type /XObject /Subtype /Image /Width {} /Height {} /ColorSpace {} 0 R"
                    " /BitsPerComponent 8 /Interpolate true /Filter {}",
                    page_.width, page_.height, colorSpace(page_.color),
                    pixels_.isRunLengthCoded() ? "[/FlateDecode /RunLengthDecode]"
                                               : "/FlateDecode"),
        compressed_.bytes());
    compressed_.consume(compressed_.size());
    return image;
}

} // namespace korvane
