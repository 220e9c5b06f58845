#pragma once

#include "base/ByteBuffer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace korvane {

/** Fills `room` with its first `size` bytes (at least one) over and over, a few large copies long.
 */
inline void repeatPrefix(std::span<std::uint8_t> room, std::size_t size)
{
    for (std::size_t filled = size; filled < room.size();) {
        const std::size_t count = std::min(filled, room.size() - filled);
        std::memcpy(room.data() + filled, room.data(), count);
        filled += count;
    }
}

} // namespace korvane

/** The run-length coding of PDF's RunLengthDecode filter (ISO 32000-1, 7.4.5). */
namespace korvane::runlength {

/** How many bytes from `begin` on, at least one, are the same. */
std::ptrdiff_t runAt(const std::uint8_t* begin, const std::uint8_t* end);

/** The next place from `position` on where three bytes are the same; `end` when there is none. */
const std::uint8_t* nextRun(const std::uint8_t* position, const std::uint8_t* end);

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

/** Decodes all of `bytes` from the front of `coded`, which is what `encode` made of them, and
 *  removes that from it. */
void decode(std::span<const std::uint8_t>& coded, std::span<std::uint8_t> bytes);

} // namespace korvane::runlength
