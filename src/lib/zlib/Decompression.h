#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

#include <cstdint>
#include <functional>
#include <span>
#include <variant>

namespace korvane {

/** Why something was not decompressed. */
struct DecompressionError {
    /** It is damaged, ends too early or was never compressed. */
    struct Damaged {};
    /** It is more than was allowed. */
    struct TooLarge {};
    /** Nothing is wrong with it: the result could not be written. */
    struct NotWritten {
        SystemError error;
    };

    std::variant<Damaged, TooLarge, NotWritten> value;
};

/**
 * Writes what gzip (RFC 1952, one member or several), zlib (RFC 1950) or deflate (RFC 1951) made
 * `compressed` of, a piece at a time, and says how long it is, at most `maxSize`. Which of the
 * three it was the bytes tell: clients have called each of the last two "deflate". What follows
 * behind the compressed data is left out. Throws std::bad_alloc.
 */
Result<std::uint64_t, DecompressionError>
decompress(std::span<const std::uint8_t> compressed, std::uint64_t maxSize,
           const std::function<Result<void, SystemError>(std::span<const std::uint8_t>)>& output);

} // namespace korvane
