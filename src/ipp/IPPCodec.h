#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "ipp/IPPMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace korvane {

/** Why bytes are not an IPP message. */
struct IPPDecodeError {
    /** A delimiter that opens no group, or a value tag of no known syntax. */
    struct InvalidTag {
        std::uint8_t tag;
    };

    /** A value of the wrong size, for example "integer length". */
    struct InvalidStructure {
        std::string detail;
    };

    /** The input ends inside the header, a length, a name or a value. */
    struct Truncated {};

    std::variant<InvalidTag, InvalidStructure, Truncated> reason;

    /** As log lines show it: invalidTag(17), invalidStructure("integer length") or truncated. */
    std::string description() const;
};

} // namespace korvane

/** The binary encoding of IPP messages (RFC 8010 section 3). Pure; safe to use from any thread. */
namespace korvane::ipp {

/**
 * How far the attributes of a message may reach, in bytes. Requests carry a few KiB of them; but a
 * value of five bytes takes ten times that in memory, so a client could ask for all of it.
 */
inline constexpr std::size_t maxAttributeSectionSize = std::size_t{4} * 1024 * 1024;

/**
 * The message that `bytes` hold, whole or not at all. The document is a slice of `bytes`.
 *
 * Lenient where clients are careless: text that is not UTF-8 counts as empty, as does text with a
 * malformed language, and a group that the end of the input cuts off is left out. The language of a
 * text or name is dropped: it comes out as one without. A collection stays the flat run of values
 * that it is on the wire, among the values of the attribute that opens it. Attributes that reach
 * further than `maxSectionSize` fail with invalidStructure("attributes length").
 */
Result<IPPMessage, IPPDecodeError> decode(const Data& bytes,
                                          std::size_t maxSectionSize = maxAttributeSectionSize);

/** The bytes of a message. Names and texts over 65535 bytes are cut where a character starts. */
Data encode(const IPPMessage& message);

} // namespace korvane::ipp
