#include "lib/zlib/Decompression.h"

#include <cstdlib>

using namespace korvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr std::uint64_t maxSize = 1 << 20;
    std::uint64_t written = 0;
    const auto length =
        decompress(std::span(bytes, size), maxSize,
                   [&](std::span<const std::uint8_t> piece) -> Result<void, SystemError> {
                       written += piece.size();
                       return {};
                   });
    if (written > maxSize || (length && *length != written)) std::abort();
    return 0;
}
