#include "raster/URFDecoder.h"

#include "ipp/DocumentFormat.h"
#include "raster/RasterPDFWriter.h"
#include "raster/URFReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace korvane::URFDecoder {

namespace {

auto unsupported(std::string detail)
{
    return failure(Error{Error::Unsupported{std::move(detail)}});
}

auto notWritten(SystemError error)
{
    return failure(Error{Error::NotWritten{error}});
}

std::optional<RasterPage::Color> color(const URFPageHeader& header)
{
    if (header.bitsPerPixel == 24 && header.colorSpace == 3) return RasterPage::Color::sRGB;
    if (header.bitsPerPixel == 8 && header.colorSpace == 1) return RasterPage::Color::linearGray;
    return {};
}

/** The page that a header asks for, or why there can be none. */
Result<RasterPage, Error> rasterPage(const URFPageHeader& header, std::uint32_t index)
{
    if (header.width == 0 || header.height == 0 || header.resolution == 0) {
        return unsupported(fmt::format("invalid page dimensions on page {}", index));
    }
    const std::optional<RasterPage::Color> accepted = color(header);
    if (!accepted) {
        return unsupported(fmt::format("bpp={} colorSpace={} on page {}", header.bitsPerPixel,
                                       header.colorSpace, index));
    }
    return RasterPage{.color = *accepted,
                      .width = header.width,
                      .height = header.height,
                      .resolution = header.resolution};
}

/** One row of pixels, whose memory is not touched before a row is decoded into it. */
class Line {
public:
    std::span<std::uint8_t> resized(std::size_t size)
    {
        if (size > capacity_) {
            capacity_ = 0;
            bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(size);
            capacity_ = size;
        }
        return {bytes_.get(), size};
    }

private:
    std::unique_ptr<std::uint8_t[]> bytes_;
    std::size_t capacity_ = 0;
};

/** Decodes one document. */
class Decoder {
public:
    Decoder(std::span<const std::uint8_t> document, const BufferedOutput::Sink& output,
            const Limits& limits)
        : reader_(document), limits_(limits), writer_(output)
    {
    }

    Result<std::uint64_t, Error> decode();

private:
    Result<void, Error> decodePage(std::uint32_t index);
    Result<void, Error> checkRaster(const RasterPage& page, std::uint32_t index);
    Result<void, Error> decodeRows(const RasterPage& page);

    URFReader reader_;
    const Limits& limits_;
    RasterPDFWriter writer_;
    Line line_;
    std::uint64_t rasterSize_ = 0;
};

Result<std::uint64_t, Error> Decoder::decode()
{
    const auto pageCount = reader_.readPageCount();
    if (!pageCount) return failure(pageCount.error());
    if (*pageCount == 0) return unsupported("zero pages");
    for (std::uint32_t index = 0; index < *pageCount; ++index) {
        try {
            if (auto page = decodePage(index); !page) return failure(page.error());
        } catch (const std::bad_alloc&) {
            return unsupported(fmt::format("CGImage construction failed for page {}", index));
        }
    }
    if (const auto written = writer_.finish(); !written) return notWritten(written.error());
    return writer_.size();
}

Result<void, Error> Decoder::decodePage(std::uint32_t index)
{
    const auto header = reader_.readPageHeader();
    if (!header) return failure(header.error());
    const auto page = rasterPage(*header, index);
    if (!page) return failure(page.error());
    if (auto checked = checkRaster(*page, index); !checked) return checked;

    writer_.beginPage(*page);
    if (auto rows = decodeRows(*page); !rows) return rows;
    if (const auto written = writer_.endPage(); !written) return notWritten(written.error());
    if (writer_.size() > limits_.pdf) {
        return unsupported(fmt::format("PDF too large at page {}", index));
    }
    return {};
}

Result<void, Error> Decoder::checkRaster(const RasterPage& page, std::uint32_t index)
{
    // A row has at most 3 * 2^32 bytes, but rows times lines can pass 2^64.
    const std::uint64_t rowSize = page.width * page.bytesPerPixel();
    if (rowSize > limits_.pageRaster || page.height > limits_.pageRaster / rowSize) {
        return unsupported(
            fmt::format("page {} too large: {} x {} pixels", index, page.width, page.height));
    }
    rasterSize_ += rowSize * page.height;
    if (rasterSize_ > limits_.documentRaster) {
        return unsupported(fmt::format("document too large at page {}", index));
    }
    return {};
}

Result<void, Error> Decoder::decodeRows(const RasterPage& page)
{
    const std::span<std::uint8_t> line = line_.resized(page.width * page.bytesPerPixel());
    for (std::size_t remaining = page.height; remaining > 0;) {
        const auto lineCount = reader_.readLineCount();
        if (!lineCount) return failure(lineCount.error());
        if (auto read = reader_.readLine(line, page.bytesPerPixel()); !read) return read;
        const std::size_t count = std::min(*lineCount, remaining);
        writer_.addRows(line, count);
        remaining -= count;
    }
    return {};
}

} // namespace

std::string Error::errorDescription() const
{
    if (const auto* unsupported = std::get_if<Unsupported>(&value))
        return "Unsupported URF: " + unsupported->detail;
    if (const auto* notWritten = std::get_if<NotWritten>(&value))
        return "Cannot write PDF: " + notWritten->error.description();
    return std::holds_alternative<NotURF>(value) ? "Document is not URF."
                                                 : "URF document is truncated.";
}

Result<std::uint64_t, Error> decodeToPDF(const Data& document, const BufferedOutput::Sink& output,
                                         const Limits& limits)
{
    const DocumentFormat* format = recognizeFormat(document.text());
    if (format == nullptr || format->conversion != DocumentFormat::Conversion::raster) {
        return failure(Error{Error::NotURF{}});
    }
    try {
        return Decoder(document.bytes(), output, limits).decode();
    } catch (const std::bad_alloc&) {
        return unsupported("CGContext init failed");
    }
}

} // namespace korvane::URFDecoder
