#include "raster/RasterPDFWriter.h"

#include "raster/ICCProfile.h"

#include <fmt/format.h>

#include <charconv>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** Measured on pages of text: a level more gains little, and from 8 on costs a multiple. */
constexpr int compressionLevel = 6;

constexpr double pointsPerInch = 72;

/** The shortest decimal number that reads back as `value`; PDF knows no exponents. */
std::string number(double value)
{
    std::array<char, 400> digits{};
    const auto end =
        std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed).ptr;
    return {digits.begin(), end};
}

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
std::string pageContent(const RasterPage& page, double width, double height)
{
    const auto inset = [](std::size_t resolution) {
        return pointsPerInch / static_cast<double>(resolution) / 10000;
    };
    const double left = inset(page.horizontalResolution);
    const double bottom = inset(page.verticalResolution);
    return fmt::format("q {} 0 0 {} {} {} cm /Im0 Do Q", number(width - 2 * left),
                       number(height - 2 * bottom), number(left), number(bottom));
}

/** What the values of a color mean, as entries of the profile's stream and the profile. */
struct ColorProfile {
    std::string_view entries;
    Data (*make)() = nullptr;
};

ColorProfile colorProfile(RasterPage::Color color)
{
    constexpr std::string_view gray = "/N 1 /Alternate /DeviceGray";
    switch (color) {
    case RasterPage::Color::linearGray: return {gray, icc::linearGrayProfile};
    case RasterPage::Color::gamma22Gray: return {gray, icc::gamma22GrayProfile};
    default: return {"/N 3 /Alternate /DeviceRGB", icc::sRGBProfile};
    }
}

} // namespace

RasterPDFWriter::RasterPDFWriter(BufferedOutput::Sink output)
    : pdf_(std::move(output)), compressor_(compressionLevel), catalog_(newObject()),
      pageTree_(newObject())
{
    // The second line tells transfer programs that this is not text.
    pdf_.append("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

void RasterPDFWriter::beginPage(const RasterPage& page)
{
    page_ = page;
    pixels_.begin(page.rowSize() * page.height);
}

void RasterPDFWriter::addRows(std::span<const std::uint8_t> row, std::size_t count)
{
    pixels_.append(row, count);
}

Result<void, SystemError> RasterPDFWriter::endPage()
{
    const double width = pointSize(page_.width, page_.horizontalResolution);
    const double height = pointSize(page_.height, page_.verticalResolution);
    const std::string content = pageContent(page_, width, height);

    const ObjectNumber image = addImage();
    const ObjectNumber contentStream =
        addStream("", {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    pages_.push_back(
        addObject(fmt::format("<< /Type /Page /Parent {} 0 R /MediaBox [0 0 {} {}]"
                              " /Resources << /XObject << /Im0 {} 0 R >> >> /Contents {} 0 R >>",
                              pageTree_, number(width), number(height), image, contentStream)));
    return pdf_.status();
}

Result<void, SystemError> RasterPDFWriter::finish()
{
    beginObject(pageTree_);
    pdf_.append(fmt::format("<< /Type /Pages /Count {} /Kids [", pages_.size()));
    for (const ObjectNumber page : pages_) pdf_.append(fmt::format("\n{} 0 R", page));
    pdf_.append("] >>");
    endObject();
    beginObject(catalog_);
    pdf_.append(fmt::format("<< /Type /Catalog /Pages {} 0 R >>", pageTree_));
    endObject();

    const std::uint64_t tableOffset = pdf_.size();
    const std::size_t tableSize = objectOffsets_.size() + 1;
    pdf_.append(fmt::format("xref\n0 {}\n0000000000 65535 f \n", tableSize));
    for (const std::uint64_t offset : objectOffsets_) {
        pdf_.append(fmt::format("{:010} 00000 n \n", offset));
    }
    pdf_.append(fmt::format("trailer\n<< /Size {} /Root {} 0 R >>\nstartxref\n{}\n%%EOF\n",
                            tableSize, catalog_, tableOffset));
    return pdf_.flush();
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::newObject()
{
    objectOffsets_.push_back(0);
    return objectOffsets_.size();
}

void RasterPDFWriter::beginObject(ObjectNumber number)
{
    objectOffsets_[number - 1] = pdf_.size();
    pdf_.append(fmt::format("{} 0 obj\n", number));
}

void RasterPDFWriter::endObject()
{
    pdf_.append("\nendobj\n");
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::addObject(std::string_view content)
{
    const ObjectNumber number = newObject();
    beginObject(number);
    pdf_.append(content);
    endObject();
    return number;
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::addStream(std::string_view entries,
                                                         std::span<const std::uint8_t> content)
{
    const ObjectNumber number = newObject();
    beginObject(number);
    pdf_.append(fmt::format("<< {} /Length {} >>\nstream\n", entries, content.size()));
    pdf_.append(content);
    pdf_.append("\nendstream");
    endObject();
    return number;
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
        const ObjectNumber stream = addStream(profile.entries, profile.make().bytes());
        place->second = addObject(fmt::format("[/ICCBased {} 0 R]", stream));
    }
    return place->second;
}

RasterPDFWriter::ObjectNumber RasterPDFWriter::addImage()
{
    pixels_.end();
    compressor_.compress(pixels_.bytes(), compressed_);
    const ObjectNumber image =
        addStream(fmt::format("/Type /XObject /Subtype /Image /Width {} /Height {} {}"
                              " /Interpolate true /Filter {}",
                              page_.width, page_.height, colorEntries(page_.color),
                              pixels_.isRunLengthCoded() ? "[/FlateDecode /RunLengthDecode]"
                                                         : "/FlateDecode"),
                  compressed_.bytes());
    compressed_.consume(compressed_.size());
    return image;
}

} // namespace korvane
