#include "pdf/PDFObjectWriter.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <utility>

namespace korvane {

namespace {

std::string_view deviceColorSpace(std::size_t components)
{
    if (components == 1) return "/DeviceGray";
    return components == 3 ? "/DeviceRGB" : "/DeviceCMYK";
}

} // namespace

std::string pdfNumber(double value)
{
    std::array<char, 400> digits{};
    const auto end =
        std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed).ptr;
    return {digits.begin(), end};
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

void PDFObjectWriter::addPage(double width, double height, std::string_view content,
                              ObjectNumber image)
{
    const ObjectNumber contentStream =
        addStream("", {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    pages_.push_back(addObject(
        fmt::format("<< /Type /Page /Parent {} 0 R /MediaBox [0 0 {} {}]"
                    " /Resources << /XObject << /Im0 {} 0 R >> >> /Contents {} 0 R >>",
                    pageTree_, pdfNumber(width), pdfNumber(height), image, contentStream)));
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
