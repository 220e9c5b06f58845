#pragma once

#include "base/ByteBuffer.h"

#include <cstdint>
#include <memory>
#include <span>

namespace korvane {

/**
 * Makes zlib streams (RFC 1950), each from a whole run of bytes that is in memory at once. Owns
 * working memory of about 1 MB that all its streams share, so it is for one thread at a time.
 */
class ZlibCompressor {
public:
    /** `level` is 1 (fastest) to 12 (smallest). Throws std::bad_alloc. */
    explicit ZlibCompressor(int level);

    /** Appends one complete stream to `output`. Throws std::bad_alloc. */
    void compress(std::span<const std::uint8_t> input, ByteBuffer& output);

private:
    struct Free {
        void operator()(void* compressor) const;
    };

    std::unique_ptr<void, Free> compressor_;
};

} // namespace korvane
