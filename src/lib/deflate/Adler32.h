#pragma once

#include <cstdint>
#include <span>

namespace korvane {

/** The checksum that ends a zlib stream (RFC 1950). */
std::uint32_t adler32(std::span<const std::uint8_t> bytes);

} // namespace korvane
