#include "ipp/IPPTag.h"

namespace korvane {

std::optional<IPPTag> makeIPPTag(std::uint8_t rawValue)
{
    switch (const auto tag = static_cast<IPPTag>(rawValue)) {
    case IPPTag::operationAttributes:
    case IPPTag::jobAttributes:
    case IPPTag::endOfAttributes:
    case IPPTag::printerAttributes:
    case IPPTag::unsupportedAttrs:
    case IPPTag::unsupportedValue:
    case IPPTag::unknown:
    case IPPTag::noValue:
    case IPPTag::integer:
    case IPPTag::boolean:
    case IPPTag::enumValue:
    case IPPTag::octetString:
    case IPPTag::dateTime:
    case IPPTag::resolution:
    case IPPTag::rangeOfInteger:
    case IPPTag::begCollection:
    case IPPTag::textWithLanguage:
    case IPPTag::nameWithLanguage:
    case IPPTag::endCollection:
    case IPPTag::textWithoutLang:
    case IPPTag::nameWithoutLang:
    case IPPTag::keyword:
    case IPPTag::uri:
    case IPPTag::uriScheme:
    case IPPTag::charset:
    case IPPTag::naturalLanguage:
    case IPPTag::mimeMediaType:
    case IPPTag::memberAttrName: return tag;
    }
    return std::nullopt;
}

} // namespace korvane
