#pragma once

#include "platform/base/ByteBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

/** The run-length coding of PDF's RunLengthDecode filter (ISO 32000-1, 7.4.5). */
namespace korvane::runlength {

/** Ends the coded data. */
constexpr std::uint8_t endOfData = 128;

/** The most bytes that `size` bytes can become. */
constexpr std::size_t bound(std::size_t size)
{
    return size + size / 128 + 1;
}

/** Codes `bytes` into `room`, which has at least bound(bytes.size()) bytes; gives the bytes used.
 */
std::size_t encode(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> room);

/** Appends to `output` the bytes that `coded`, made by `encode`, stands for. */
void decode(std::span<const std::uint8_t> coded, ByteBuffer& output);

} // namespace korvane::runlength
