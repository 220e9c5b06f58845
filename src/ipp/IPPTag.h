#pragma once

#include <cstdint>
#include <optional>

namespace korvane {

/**
 * The tags of the binary encoding that this printer knows (RFC 8010 section 3.5): up to 0x0F they
 * delimit groups, from 0x10 on they say which syntax a value has.
 */
enum class IPPTag : std::uint8_t {
    // Delimiters: section 3.5.1.
    operationAttributes = 0x01,
    jobAttributes = 0x02,
    endOfAttributes = 0x03,
    printerAttributes = 0x04,
    unsupportedAttrs = 0x05,
    // Out-of-band values and value syntaxes: section 3.5.2.
    unsupportedValue = 0x10,
    unknown = 0x12,
    noValue = 0x13,
    integer = 0x21,
    boolean = 0x22,
    enumValue = 0x23,
    octetString = 0x30,
    dateTime = 0x31,
    resolution = 0x32,
    rangeOfInteger = 0x33,
    begCollection = 0x34,
    textWithLanguage = 0x35,
    nameWithLanguage = 0x36,
    endCollection = 0x37,
    textWithoutLang = 0x41,
    nameWithoutLang = 0x42,
    keyword = 0x44,
    uri = 0x45,
    uriScheme = 0x46,
    charset = 0x47,
    naturalLanguage = 0x48,
    mimeMediaType = 0x49,
    memberAttrName = 0x4A,
};

constexpr std::uint8_t rawValue(IPPTag tag)
{
    return static_cast<std::uint8_t>(tag);
}

/** The tag with this wire value, if it is one of those above. */
constexpr std::optional<IPPTag> makeIPPTag(std::uint8_t value)
{
    const auto tag = static_cast<IPPTag>(value);
    const auto within = [tag](IPPTag first, IPPTag last) { return tag >= first && tag <= last; };
    const bool isKnown = within(IPPTag::operationAttributes, IPPTag::unsupportedAttrs) ||
                         tag == IPPTag::unsupportedValue ||
                         within(IPPTag::unknown, IPPTag::noValue) ||
                         within(IPPTag::integer, IPPTag::enumValue) ||
                         within(IPPTag::octetString, IPPTag::endCollection) ||
                         within(IPPTag::textWithoutLang, IPPTag::nameWithoutLang) ||
                         within(IPPTag::keyword, IPPTag::memberAttrName);
    return isKnown ? std::optional(tag) : std::nullopt;
}

} // namespace korvane
