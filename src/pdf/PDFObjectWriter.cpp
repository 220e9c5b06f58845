#include "pdf/PDFObjectWriter.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** The shortest decimal number that reads back as `value`; PDF knows no exponents. */
std::string pdfNumber(double value)
{
    std::array<char, 400> digits{};
    const auto end =
        std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed).ptr;
    return {digits.begin(), end};
}

/**
 * Draws the image over the whole page but for a ten-thousandth of a pixel at each side. Poppler
 * counts the device pixel behind an edge that lies on a pixel boundary as part of the image; it
 * would stretch, and so blur, a page that is rendered at its own resolution.
 */
std::string pageContent(const ImagePage& page)
{
    const double inset = page.pixel / 10000;
    const double width = page.width - 2 * inset;
    const double height = page.height - 2 * inset;
    const auto& [a, b, c, d, e, f] = page.turn;
    return fmt::format("q {} {} {} {} {} {} cm /Im0 Do Q", pdfNumber(a * width),
                       pdfNumber(b * height), pdfNumber(c * width), pdfNumber(d * height),
                       pdfNumber(inset + e * width), pdfNumber(inset + f * height));
}

} // namespace

std::string_view deviceColorSpace(std::size_t components)
{
    if (components == 1) return "/DeviceGray";
    return components == 3 ? "/DeviceRGB" : "/DeviceCMYK";
}

PDFObjectWriter::PDFObjectWriter(BufferedOutput::Sink output)
    : pdf_(std::move(output)), catalog_(newObject()), pageTree_(newObject())
{
    // The second line tells transfer programs that this is not text.
    pdf_.append("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

PDFObjectWriter::ObjectNumber PDFObjectWriter::addObject(std::string_view content)
{
    const ObjectNumber number = newObject();
    beginObject(number);
    pdf_.append(content);
    endObject();
    return number;
}

PDFObjectWriter::ObjectNumber PDFObjectWriter::addStream(std::string_view entries,
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

PDFObjectWriter::ObjectNumber PDFObjectWriter::addColorSpace(std::size_t components,
                                                             std::span<const std::uint8_t> profile)
{
    const ObjectNumber stream = addStream(
        fmt::format("/N {} /Alternate {}", components, deviceColorSpace(components)), profile);
    return addObject(fmt::format("[/ICCBased {} 0 R]", stream));
}

void PDFObjectWriter::addPage(const ImagePage& page, ObjectNumber image)
{
    const std::string content = pageContent(page);
    const ObjectNumber contentStream =
        addStream("", {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    pages_.push_back(addObject(fmt::format(
        "<< /Type /Page /Parent {} 0 R /MediaBox [0 0 {} {}]"
        " /Resources << /XObject << /Im0 {} 0 R >> >> /Contents {} 0 R >>",
        pageTree_, pdfNumber(page.width), pdfNumber(page.height), image, contentStream)));
}

Result<void, SystemError> PDFObjectWriter::finish()
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

PDFObjectWriter::ObjectNumber PDFObjectWriter::newObject()
{
    objectOffsets_.push_back(0);
    return objectOffsets_.size();
}

void PDFObjectWriter::beginObject(ObjectNumber number)
{
    objectOffsets_[number - 1] = pdf_.size();
    pdf_.append(fmt::format("{} 0 obj\n", number));
}

void PDFObjectWriter::endObject()
{
    pdf_.append("\nendobj\n");
}

} // namespace korvane
