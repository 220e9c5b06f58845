#include "raster/RasterReader.h"

#include <fmt/format.h>

#include <algorithm>

namespace korvane {

RasterReader::Header RasterReader::take(std::size_t count)
{
    if (rest_.size() < count) return {};
    const Header bytes = rest_.first(count);
    rest_ = rest_.subspan(count);
    return bytes;
}

std::uint32_t RasterReader::value(Header header, RasterLayout::Number place)
{
    std::uint32_t number = 0;
    for (const std::uint8_t byte : header.subspan(place.offset, place.size))
        number = number << 8 | byte;
    return number;
}

RasterReader::Result<std::uint32_t> RasterReader::readFileHeader()
{
    const Header header = take(layout_.fileHeaderSize);
    if (header.empty()) return truncated();
    return value(header, layout_.pageCount);
}

RasterReader::Result<RasterReader::Page> RasterReader::readPageHeader(std::uint32_t index)
{
    const Header header = take(layout_.pageHeaderSize);
    if (header.empty()) return truncated();

    const std::uint32_t width = value(header, layout_.width);
    const std::uint32_t height = value(header, layout_.height);
    const std::uint32_t horizontal = value(header, layout_.horizontalResolution);
    const std::uint32_t vertical = value(header, layout_.verticalResolution);
    if (width == 0 || height == 0 || horizontal == 0 || vertical == 0)
        return unsupported(fmt::format("invalid page dimensions on page {}", index));

    const std::uint32_t bitsPerPixel = value(header, layout_.bitsPerPixel);
    const std::uint32_t colorSpace = value(header, layout_.colorSpace);
    const auto format =
        std::ranges::find_if(layout_.pixelFormats, [&](const RasterLayout::PixelFormat& accepted) {
            return accepted.bitsPerPixel == bitsPerPixel && accepted.colorSpace == colorSpace;
        });
    if (format == layout_.pixelFormats.end()) {
        return unsupported(
            fmt::format("bpp={} colorSpace={} on page {}", bitsPerPixel, colorSpace, index));
    }
    for (const RasterLayout::Constant& constant : layout_.constants) {
        const std::uint32_t found = value(header, constant.place);
        if (found != constant.value)
            return unsupported(fmt::format("{}={} on page {}", constant.name, found, index));
    }

    const RasterPage page{.color = format->color,
                          .width = width,
                          .height = height,
                          .horizontalResolution = horizontal,
                          .verticalResolution = vertical};
    const std::uint32_t lineSize = value(header, layout_.bytesPerLine);
    if (layout_.bytesPerLine.size > 0 && lineSize != page.rowSize())
        return unsupported(fmt::format("bytesPerLine={} on page {}", lineSize, index));
    return Page{page, format->decodeLine};
}

RasterReader::Result<std::size_t> RasterReader::readLine(std::span<std::uint8_t> line,
                                                         LineDecoder decode)
{
    const Header repeat = take(1);
    if (repeat.empty()) return truncated();
    switch (decode(rest_, line)) {
    case LineResult::complete: return std::size_t{repeat[0]} + 1;
    case LineResult::truncated: return truncated();
    case LineResult::overflow:
        return unsupported(fmt::format("{} literal run overflows line", layout_.documentKind));
    }
    return truncated();
}

} // namespace korvane
