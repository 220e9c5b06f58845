#pragma once

#include "base/ByteBuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/** The unsigned number that starts `bytes`, which hold at least its size, the high byte first. */
template <typename Number>
constexpr Number bigEndian(std::span<const std::uint8_t> bytes)
{
    std::uint32_t number = 0;
    for (const std::uint8_t byte : bytes.first(sizeof(Number))) number = number << 8 | byte;
    return static_cast<Number>(number);
}

/** Appends an unsigned number that the type can hold, the high byte first. */
template <typename Number>
void appendBigEndian(ByteBuffer& out, std::uint64_t number)
{
    for (std::size_t size = sizeof(Number); size > 0; --size) {
        out.append(static_cast<std::uint8_t>(number >> (8 * (size - 1))));
    }
}

} // namespace korvane
