#pragma once

#include "ipp/IPPCodec.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvane::ipp {

/**
 * Finds where the attributes of a message end that arrives in pieces (RFC 8010 section 3.1.1). It
 * looks at lengths and the end tag only: `decode` says what the attributes are worth, and says the
 * same of them with and without what follows.
 */
class AttributeSection {
public:
    explicit AttributeSection(std::size_t maxSectionSize = maxAttributeSectionSize)
        : maxSectionSize_(maxSectionSize)
    {
    }

    /** How many of these bytes, which follow those seen before, belong to the header and the
     *  attributes: all of them until the end is found. */
    std::size_t take(std::span<const std::uint8_t> bytes);

    /** Whether the end has been found, or the section is too long for `decode`. */
    bool isComplete() const { return part_ == Part::end; }

private:
    enum class Part { tag, nameLength, name, valueLength, value, end };

    /** A tag, or a byte of a length. */
    void handle(std::uint8_t byte);
    void beginLength(Part part);
    void finishField();

    const std::size_t maxSectionSize_;
    std::size_t position_ = 0;
    /** As if the message header were the value of a record. */
    Part part_ = Part::value;
    /** Bytes of the part that are still to come. */
    std::size_t remaining_ = 8;
    std::size_t length_ = 0;
};

} // namespace korvane::ipp
