#include "raster/RasterDecoder.h"

#include "raster/RasterPDFWriter.h"
#include "raster/RasterReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace korvane {

namespace {

template <typename T>
using Decoded = Result<T, RasterError>;

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
    Decoder(const RasterLayout& layout, std::span<const std::uint8_t> document,
            const BufferedOutput::Sink& output, const RasterLimits& limits)
        : layout_(layout), reader_(layout, document), limits_(limits), writer_(output)
    {
    }

    Decoded<std::uint64_t> decode();

private:
    Decoded<std::uint32_t> decodePages(std::uint32_t pageCount);
    Decoded<void> decodePage(std::uint32_t index);
    Decoded<void> checkRaster(const RasterPage& page, std::uint32_t index);
    Decoded<void> decodeRows(const RasterReader::Page& page);

    auto unsupported(std::string detail) const
    {
        return failure(
            RasterError{RasterError::Unsupported{std::move(detail)}, layout_.documentKind});
    }
    auto notWritten(SystemError error) const
    {
        return failure(RasterError{RasterError::NotWritten{error}, layout_.documentKind});
    }

    const RasterLayout& layout_;
    RasterReader reader_;
    const RasterLimits& limits_;
    RasterPDFWriter writer_;
    Line line_;
    std::uint64_t rasterSize_ = 0;
};

Decoded<std::uint64_t> Decoder::decode()
{
    const auto pageCount = reader_.readFileHeader();
    if (!pageCount) return failure(pageCount.error());
    const bool counted = layout_.end == RasterLayout::End::pageCount;
    if (counted && *pageCount == 0) return unsupported("zero pages");

    std::uint32_t index = 0;
    do {
        try {
            if (auto page = decodePage(index); !page) return failure(page.error());
        } catch (const std::bad_alloc&) {
            return unsupported(fmt::format("CGImage construction failed for page {}", index));
        }
        ++index;
    } while (counted ? index < *pageCount : !reader_.atEnd());
    if (!counted && *pageCount != 0 && index != *pageCount)
        return unsupported(fmt::format("{} pages instead of {}", index, *pageCount));

    if (const auto written = writer_.finish(); !written) return notWritten(written.error());
    return writer_.size();
}

Decoded<void> Decoder::decodePage(std::uint32_t index)
{
    const auto page = reader_.readPageHeader(index);
    if (!page) return failure(page.error());
    if (auto checked = checkRaster(page->raster, index); !checked) return checked;

    writer_.beginPage(page->raster);
    if (auto rows = decodeRows(*page); !rows) return rows;
    if (const auto written = writer_.endPage(); !written) return notWritten(written.error());
    if (writer_.size() > limits_.pdf)
        return unsupported(fmt::format("PDF too large at page {}", index));
    return {};
}

Decoded<void> Decoder::checkRaster(const RasterPage& page, std::uint32_t index)
{
    // A row has at most 3 * 2^32 bytes, but rows times lines can pass 2^64.
    const std::uint64_t rowSize = page.rowSize();
    if (rowSize > limits_.pageRaster || page.height > limits_.pageRaster / rowSize) {
        return unsupported(
            fmt::format("page {} too large: {} x {} pixels", index, page.width, page.height));
    }
    rasterSize_ += rowSize * page.height;
    if (rasterSize_ > limits_.documentRaster)
        return unsupported(fmt::format("document too large at page {}", index));
    return {};
}

Decoded<void> Decoder::decodeRows(const RasterReader::Page& page)
{
    const std::span<std::uint8_t> line = line_.resized(page.raster.rowSize());
    for (std::size_t remaining = page.raster.height; remaining > 0;) {
        const auto lineCount = reader_.readLine(line, page.decodeLine);
        if (!lineCount) return failure(lineCount.error());
        const std::size_t count = std::min(*lineCount, remaining);
        writer_.addRows(line, count);
        remaining -= count;
    }
    return {};
}

} // namespace

Result<std::uint64_t, RasterError> decodeRaster(const RasterLayout& layout, const Data& document,
                                                const BufferedOutput::Sink& output,
                                                const RasterLimits& limits)
{
    try {
        return Decoder(layout, document.bytes(), output, limits).decode();
    } catch (const std::bad_alloc&) {
        return failure(
            RasterError{RasterError::Unsupported{"CGContext init failed"}, layout.documentKind});
    }
}

} // namespace korvane
