#pragma once

#include "ipp/IPPDecodeError.h"
#include "platform/base/Data.h"
#include "platform/base/Result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane {

/**
 * Reads bytes from front to back; numbers are big-endian (RFC 8010 section 3). A read that asks for
 * more than is left fails with `Truncated` and leaves the position where it was.
 */
class ByteReader {
public:
    explicit ByteReader(Data bytes) : bytes_(std::move(bytes)) {}

    /** How many bytes have been read. */
    std::size_t position() const { return position_; }
    bool atEnd() const { return position_ == bytes_.size(); }

    Result<std::uint8_t, IPPDecodeError> readUInt8();
    Result<std::uint16_t, IPPDecodeError> readUInt16();
    Result<std::uint32_t, IPPDecodeError> readUInt32();

    /** The next `count` bytes, not copied: valid while the storage of the input lives. */
    Result<std::span<const std::uint8_t>, IPPDecodeError> readBytes(std::size_t count);

    /** Everything up to the end, sharing the storage of the input. */
    Data readRemaining();

private:
    template <typename Number>
    Result<Number, IPPDecodeError> readNumber();

    Data bytes_;
    std::size_t position_ = 0;
};

} // namespace korvane
