#include "lib/deflate/ZlibCompressor.h"

#include <libdeflate.h>

#include <new>

namespace korvane {

namespace {

libdeflate_compressor* native(void* compressor)
{
    return static_cast<libdeflate_compressor*>(compressor);
}

} // namespace

void ZlibCompressor::Free::operator()(void* compressor) const
{
    libdeflate_free_compressor(native(compressor));
}

ZlibCompressor::ZlibCompressor(int level) : compressor_(libdeflate_alloc_compressor(level))
{
    if (!compressor_) throw std::bad_alloc();
}

void ZlibCompressor::compress(std::span<const std::uint8_t> input, ByteBuffer& output)
{
    libdeflate_compressor* compressor = native(compressor_.get());
    // With room for the worst case the compressor cannot fail.
    const std::span<std::uint8_t> room =
        output.prepare(libdeflate_zlib_compress_bound(compressor, input.size()));
    output.commit(
        libdeflate_zlib_compress(compressor, input.data(), input.size(), room.data(), room.size()));
}

} // namespace korvane
