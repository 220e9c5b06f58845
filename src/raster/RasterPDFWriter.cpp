#include "raster/RasterPDFWriter.h"

#include "raster/ICCProfile.h"

#include <fmt/format.h>

#include <string>
#include <utility>

namespace korvane {

namespace {

/** Measured on pages of text: a level more gains little, and from 8 on costs a multiple. */
constexpr int compressionLevel = 6;

constexpr double pointsPerInch = 72;

/** In points; the product is exact. */
double pointSize(std::size_t pixels, std::size_t resolution)
{
    return static_cast<double>(pixels * 72) / static_cast<double>(resolution);
}

/**
 * Draws the image over the whole page but for a ten-thousandth of a pixel at each side. Poppler
 * counts the device pixel behind an edge that lies on a pixel boundary as part of the image; it
 * would stretch, and so blur, a page that is rendered at its own resolution.
 */
std::string pageContent(double width, double height, double pixel)
{
    const double inset = pixel / 10000;
    return fmt::format("q {0} 0 0 {1} {2} {2} cm /Im0 Do Q", pdfNumber(width - 2 * inset),
                       pdfNumber(height - 2 * inset), pdfNumber(inset));
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
    const double width = pointSize(page_.width, page_.resolution);
    const double height = pointSize(page_.height, page_.resolution);
    const std::string content =
        pageContent(width, height, pointsPerInch / static_cast<double>(page_.resolution));
    pdf_.addPage(width, height, content, addImage());
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
