#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace korvane {

/** Writes the rows that `fill` makes, each of `rowSize` bytes, to a file from its start. */
bool writePixels(int file, int rows, std::size_t rowSize,
                 const std::function<void(int row, std::span<std::uint8_t>)>& fill);

/** Reads a row of as many bytes as `pixels` has room for; false when the file ends before. */
bool readPixels(int file, int row, std::span<std::uint8_t> pixels);

} // namespace korvane
