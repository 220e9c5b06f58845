#pragma once

#include "base/Data.h"
#include "ipp/IPPTag.h"
#include "ipp/IPPValue.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A name and its values, normally at least one (RFC 8010 sections 3.1.3 to 3.1.5). */
struct IPPAttribute {
    std::string name;
    std::vector<IPPValue> values;

    friend bool operator==(const IPPAttribute&, const IPPAttribute&) = default;
};

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

/** An attribute whose values are `texts`, in order and all with the same tag. */
IPPAttribute makeTextAttribute(std::string name, std::vector<std::string> texts, IPPTag tag);

/** An attribute whose values are `numbers`, in order: an `Integer` or `EnumValue` each. */
template <typename Value>
IPPAttribute makeNumberAttribute(std::string name, const std::vector<std::int32_t>& numbers)
{
    IPPAttribute attribute{std::move(name), {}};
    for (const std::int32_t number : numbers) attribute.values.emplace_back(Value{number});
    return attribute;
}

/**
 * The first attribute of that name in the first group with that tag, or null: further groups with
 * the same tag are not searched. Names are compared byte for byte. Lives as long as the message.
 */
const IPPAttribute* findAttribute(const IPPMessage& message, std::string_view name, IPPTag group);

} // namespace ipp

} // namespace korvane
