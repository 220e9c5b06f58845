#include "lib/deflate/Adler32.h"

#include <libdeflate.h>

namespace korvane {

std::uint32_t adler32(std::span<const std::uint8_t> bytes)
{
    return libdeflate_adler32(1, bytes.data(), bytes.size());
}

} // namespace korvane
