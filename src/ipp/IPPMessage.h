#pragma once

#include "ipp/IPPAttribute.h"
#include "ipp/IPPTag.h"
#include "platform/base/Data.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace korvane {

/** Attributes behind one group delimiter (RFC 8010 section 3.1.2). */
struct IPPAttributeGroup {
    IPPTag tag = IPPTag::operationAttributes;
    std::vector<IPPAttribute> attributes;

    friend bool operator==(const IPPAttributeGroup&, const IPPAttributeGroup&) = default;
};

/** One request or response (RFC 8010 section 3.1.1). */
struct IPPMessage {
    std::uint8_t versionMajor = 0;
    std::uint8_t versionMinor = 0;

    /** The operation-id of a request, the status-code of a response. */
    std::uint16_t code = 0;

    /** Chosen by the client; a response carries that of its request. */
    std::uint32_t requestID = 0;

    /** In wire order; a tag may come more than once. */
    std::vector<IPPAttributeGroup> groups;

    /** What follows the attributes. In a decoded message it shares the storage of the input. */
    Data documentData;

    friend bool operator==(const IPPMessage&, const IPPMessage&) = default;
};

namespace ipp {

/**
 * The first attribute of that name in the first group with that tag, or null: further groups with
 * the same tag are not searched. Names are compared byte for byte. Lives as long as the message.
 */
const IPPAttribute* findAttribute(const IPPMessage& message, std::string_view name, IPPTag group);

} // namespace ipp

} // namespace korvane
