#pragma once

#include "ipp/IPPDecodeError.h"
#include "ipp/IPPMessage.h"
#include "platform/base/ByteBuffer.h"
#include "platform/base/Data.h"
#include "platform/base/Result.h"

#include <cstddef>
#include <cstdint>

/** The binary encoding of IPP messages (RFC 8010 section 3). Pure; safe to use from any thread. */
namespace korvane::ipp {

/**
 * How far the attributes of a message may reach. Requests carry a few KiB of them; but a value of
 * five bytes takes ten times that in memory, so a client could ask for all of it.
 */
inline constexpr std::size_t largestAttributeSection = std::size_t{4} * 1024 * 1024;

/**
 * The message that `bytes` hold, whole or not at all. The document is a slice of `bytes`.
 *
 * Lenient where clients are careless: text that is not UTF-8 counts as empty, and a group that the
 * end of the input cuts off is left out. A collection stays the flat run of values that it is on
 * the wire, among the values of the attribute that opens it. Attributes that reach further than
 * `largestAttributeSection` fail with invalidStructure("attributes length").
 */
Result<IPPMessage, IPPDecodeError> decode(const Data& bytes);

/** The bytes of a message. Names and texts over 65535 bytes are cut where a character starts. */
Data encode(const IPPMessage& message);

/** Big-endian, as all numbers of the encoding. */
void appendUInt16(ByteBuffer& out, std::uint16_t number);
void appendUInt32(ByteBuffer& out, std::uint32_t number);

} // namespace korvane::ipp
