#include "ipp/ByteReader.h"

#include "ipp/BigEndian.h"

namespace korvane {

Result<std::span<const std::uint8_t>, IPPDecodeError> ByteReader::readBytes(std::size_t count)
{
    const auto left = bytes_.bytes().subspan(position_);
    if (left.size() < count) return failure(IPPDecodeError{IPPDecodeError::Truncated{}});
    position_ += count;
    return left.first(count);
}

template <typename Number>
Result<Number, IPPDecodeError> ByteReader::readNumber()
{
    return readBytes(sizeof(Number)).map(ipp::bigEndian<Number>);
}

Result<std::uint8_t, IPPDecodeError> ByteReader::readUInt8()
{
    return readNumber<std::uint8_t>();
}

Result<std::uint16_t, IPPDecodeError> ByteReader::readUInt16()
{
    return readNumber<std::uint16_t>();
}

Result<std::uint32_t, IPPDecodeError> ByteReader::readUInt32()
{
    return readNumber<std::uint32_t>();
}

Data ByteReader::readRemaining()
{
    const std::size_t start = std::exchange(position_, bytes_.size());
    return start == bytes_.size() ? Data() : bytes_.slice(start);
}

} // namespace korvane
