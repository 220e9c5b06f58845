#pragma once

#include "base/Result.h"
#include "raster/URFDecoder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/** The interpreted fields of a page header. */
struct URFPageHeader {
    std::uint8_t bitsPerPixel = 0;
    std::uint8_t colorSpace = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t resolution = 0;
};

/** Reads the pieces of a URF document one after the other. Multi-byte numbers are big-endian. */
class URFReader {
public:
    template <typename T>
    using Result = korvane::Result<T, URFDecoder::Error>;

    /** Reads from just behind the magic. `document` outlives the reader. */
    explicit URFReader(std::span<const std::uint8_t> document);

    Result<std::uint32_t> readPageCount();
    Result<URFPageHeader> readPageHeader();

    /** How many consecutive rows the next encoded line stands for. */
    Result<std::size_t> readLineCount();

    /** Decodes one line into all of `line`, whose pixels have `bytesPerPixel` bytes. */
    Result<void> readLine(std::span<std::uint8_t> line, std::size_t bytesPerPixel);

private:
    /** The next `count` bytes, or none when fewer are left. */
    const std::uint8_t* take(std::size_t count);

    std::span<const std::uint8_t> rest_;
};

} // namespace korvane
