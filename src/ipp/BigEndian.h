#pragma once

#include <cstdint>
#include <span>

namespace korvane::ipp {

/** The unsigned number that starts `bytes`, which hold at least its size. */
template <typename Number>
constexpr Number bigEndian(std::span<const std::uint8_t> bytes)
{
    std::uint32_t number = 0;
    for (const std::uint8_t byte : bytes.first(sizeof(Number))) number = number << 8 | byte;
    return static_cast<Number>(number);
}

} // namespace korvane::ipp
