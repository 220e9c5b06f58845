#include "worker/PixelFile.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

namespace korvane {

namespace {

/** Rows are written so many bytes at a time. */
constexpr std::size_t blockSize = std::size_t{256} << 10;

bool writeAt(int file, std::span<const std::uint8_t> bytes, off_t offset)
{
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(file, bytes.data(), bytes.size(), offset);
        if (count <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += count;
    }
    return true;
}

} // namespace

bool writePixels(int file, int rows, std::size_t rowSize,
                 const std::function<void(int, std::span<std::uint8_t>)>& fill)
{
    const auto rowsInBlock = static_cast<int>(std::max<std::size_t>(blockSize / rowSize, 1));
    std::vector<std::uint8_t> block(rowSize * static_cast<std::size_t>(rowsInBlock));
    for (int first = 0; first < rows; first += rowsInBlock) {
        const int count = std::min(rowsInBlock, rows - first);
        for (int row = 0; row < count; ++row)
            fill(first + row,
                 std::span(block).subspan(rowSize * static_cast<std::size_t>(row), rowSize));
        if (!writeAt(file, std::span(block).first(rowSize * static_cast<std::size_t>(count)),
                     static_cast<off_t>(rowSize) * first))
            return false;
    }
    return true;
}

bool readPixels(int file, int row, std::span<std::uint8_t> pixels)
{
    auto offset = static_cast<off_t>(pixels.size()) * row;
    while (!pixels.empty()) {
        const ssize_t count = ::pread(file, pixels.data(), pixels.size(), offset);
        if (count <= 0) return false;
        pixels = pixels.subspan(static_cast<std::size_t>(count));
        offset += count;
    }
    return true;
}

} // namespace korvane
