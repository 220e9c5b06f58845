#pragma once

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
