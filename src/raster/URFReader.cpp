#include "raster/URFReader.h"

#include "base/BigEndian.h"
#include "raster/RunLength.h"

#include <algorithm>
#include <cstring>

namespace korvane {

namespace {

using Error = URFDecoder::Error;

constexpr std::size_t magicSize = 8;
constexpr std::size_t pageHeaderSize = 28;
constexpr std::uint8_t fillCode = 128;

auto truncated()
{
    return failure(Error{Error::Truncated{}});
}

} // namespace

URFReader::URFReader(std::span<const std::uint8_t> document) : rest_(document.subspan(magicSize)) {}

const std::uint8_t* URFReader::take(std::size_t count)
{
    if (rest_.size() < count) return nullptr;
    const std::uint8_t* bytes = rest_.data();
    rest_ = rest_.subspan(count);
    return bytes;
}

URFReader::Result<std::uint32_t> URFReader::readPageCount()
{
    const std::uint8_t* bytes = take(4);
    if (bytes == nullptr) return truncated();
    return bigEndian<std::uint32_t>({bytes, 4});
}

URFReader::Result<URFPageHeader> URFReader::readPageHeader()
{
    const std::uint8_t* bytes = take(pageHeaderSize);
    if (bytes == nullptr) return truncated();
    const auto number = [&](std::size_t offset) {
        return bigEndian<std::uint32_t>({bytes + offset, 4});
    };
    return URFPageHeader{.bitsPerPixel = bytes[0],
                         .colorSpace = bytes[1],
                         .width = number(8),
                         .height = number(12),
                         .resolution = number(16)};
}

URFReader::Result<std::size_t> URFReader::readLineCount()
{
    const std::uint8_t* repeat = take(1);
    if (repeat == nullptr) return truncated();
    return std::size_t{*repeat} + 1;
}

URFReader::Result<void> URFReader::readLine(std::span<std::uint8_t> line, std::size_t bytesPerPixel)
{
    std::size_t filled = 0;
    while (filled < line.size()) {
        const std::uint8_t* code = take(1);
        if (code == nullptr) return truncated();
        const std::size_t left = line.size() - filled;
        if (*code < fillCode) {
            const std::size_t size = (std::size_t{*code} + 1) * bytesPerPixel;
            if (size > left) {
                return failure(Error{Error::Unsupported{"URF literal run overflows line"}});
            }
            const std::uint8_t* pixels = take(size);
            if (pixels == nullptr) return truncated();
            std::memcpy(line.data() + filled, pixels, size);
            filled += size;
        } else if (*code > fillCode) {
            const std::uint8_t* pixel = take(bytesPerPixel);
            if (pixel == nullptr) return truncated();
            const std::size_t size = std::min((257 - std::size_t{*code}) * bytesPerPixel, left);
            std::memcpy(line.data() + filled, pixel, bytesPerPixel);
            repeatPrefix(line.subspan(filled, size), bytesPerPixel);
            filled += size;
        } else if (filled > 0) {
            // The pixel read last is the one before, whichever kind of run it came in.
            repeatPrefix(line.subspan(filled - bytesPerPixel), bytesPerPixel);
            filled = line.size();
        } else {
            std::memset(line.data(), 0, line.size());
            filled = line.size();
        }
    }
    return {};
}

} // namespace korvane
