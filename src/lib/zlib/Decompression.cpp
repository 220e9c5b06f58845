#include "lib/zlib/Decompression.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

namespace korvane {

namespace {

using Bytes = std::span<const std::uint8_t>;
using Error = DecompressionError;

/** What the library is given at a time, and gives. */
constexpr std::size_t pieceSize = std::size_t{256} << 10;

bool isGzip(Bytes bytes)
{
    return bytes.size() >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B;
}

/** The method is deflate, its window no larger than deflate has, and the check is right (RFC 1950,
 *  section 2.2). */
bool isZlib(Bytes bytes)
{
    return bytes.size() >= 2 && (bytes[0] & 15) == 8 && bytes[0] >> 4 <= 7 &&
           (bytes[0] << 8 | bytes[1]) % 31 == 0;
}

/** inflateInit2's windowBits: 32 more finds out whether it is gzip or zlib, a negative number
 * stands for neither. */
int windowBits(Bytes compressed)
{
    return isGzip(compressed) || isZlib(compressed) ? MAX_WBITS + 32 : -MAX_WBITS;
}

class Inflation {
public:
    Inflation(Bytes compressed) : rest_(compressed), room_(pieceSize)
    {
        if (::inflateInit2(&stream_, windowBits(compressed)) != Z_OK) throw std::bad_alloc();
    }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;
    ~Inflation() { ::inflateEnd(&stream_); }

    bool isAtEnd() const { return isAtEnd_; }

    /** The next piece of the result, which may be empty before the end. */
    Result<Bytes, Error> next()
    {
        const Bytes input = rest_.first(std::min(rest_.size(), pieceSize));
        stream_.next_in = const_cast<Bytef*>(input.data());
        stream_.avail_in = static_cast<uInt>(input.size());
        stream_.next_out = room_.data();
        stream_.avail_out = static_cast<uInt>(room_.size());
        const int status = ::inflate(&stream_, Z_NO_FLUSH);
        rest_ = rest_.subspan(input.size() - stream_.avail_in);
        if (status == Z_MEM_ERROR) throw std::bad_alloc();
        // Z_BUF_ERROR: neither side got any further, as there is no more input.
        if (status != Z_OK && status != Z_STREAM_END) return failure(Error{Error::Damaged()});
        if (status == Z_STREAM_END) endMember();
        return Bytes(room_).first(room_.size() - stream_.avail_out);
    }

private:
    void endMember()
    {
        isAtEnd_ = !isGzip(rest_);
        if (!isAtEnd_) ::inflateReset(&stream_);
    }

    Bytes rest_;
    std::vector<std::uint8_t> room_;
    z_stream stream_{};
    bool isAtEnd_ = false;
};

} // namespace

Result<std::uint64_t, DecompressionError>
decompress(std::span<const std::uint8_t> compressed, std::uint64_t maxSize,
           const std::function<Result<void, SystemError>(std::span<const std::uint8_t>)>& output)
{
    std::uint64_t size = 0;
    for (Inflation inflation(compressed); !inflation.isAtEnd();) {
        const auto piece = inflation.next();
        if (!piece) return failure(piece.error());
        size += piece->size();
        if (size > maxSize) return failure(Error{Error::TooLarge()});
        if (const auto written = output(*piece); !written)
            return failure(Error{Error::NotWritten{written.error()}});
    }
    return size;
}

} // namespace korvane
