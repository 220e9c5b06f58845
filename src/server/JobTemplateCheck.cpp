#include "server/JobTemplateCheck.h"

#include "ipp/Collections.h"
#include "ipp/JobTemplate.h"
#include "ipp/MediaSizes.h"
#include "ipp/RequestedPaper.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>

namespace korvane {

namespace {

constexpr std::size_t maxUnsupported = 64;
/** Of all attributes that a job keeps; a media-col has about twenty. */
constexpr std::size_t maxValues = 128;
/** Of a keyword or name (RFC 8011 sections 5.1.3 and 5.1.4). */
constexpr std::size_t maxTextLength = 255;

bool isSmall(const IPPAttribute& attribute, std::size_t values)
{
    return attribute.name.size() <= maxTextLength && attribute.values.size() <= values &&
           std::ranges::all_of(attribute.values, [](const IPPValue& value) {
               const auto* text = std::get_if<ipp::Text>(&value);
               return text == nullptr || text->text.size() <= maxTextLength;
           });
}

/** The attribute with its collections as such; as it is where they are not whole. */
IPPAttribute rebuilt(const IPPAttribute& attribute)
{
    IPPAttribute result{attribute.name, {}};
    std::span<const IPPValue> values = attribute.values;
    while (!values.empty()) {
        if (auto collection = ipp::takeCollection(values)) {
            result.values.emplace_back(*std::move(collection));
        } else if (!values.empty()) {
            result.values.push_back(values.front());
            values = values.subspan(1);
        }
    }
    return result;
}

bool isWithin(const PaperSize& size, const PaperSize& smallest, const PaperSize& largest)
{
    return size.width >= smallest.width && size.width <= largest.width &&
           size.height >= smallest.height && size.height <= largest.height;
}

bool isTakenPaper(const std::optional<PaperSize>& size)
{
    return size && isWithin(*size, minCustomSize.size, maxCustomSize.size);
}

/** Whether a value is what one of the supported ones stands for. */
bool matches(const IPPValue& value, const IPPValue& supported)
{
    if (const auto* text = std::get_if<ipp::Text>(&value)) {
        const auto* known = std::get_if<ipp::Text>(&supported);
        return known != nullptr && known->text == text->text;
    }
    if (const auto* range = std::get_if<ipp::RangeOfInteger>(&supported)) {
        const auto* number = std::get_if<ipp::Integer>(&value);
        return number && number->value >= range->lower && number->value <= range->upper;
    }
    if (const auto* any = std::get_if<ipp::Boolean>(&supported))
        return any->value && std::holds_alternative<ipp::RangeOfInteger>(value);
    return value == supported;
}

bool isSupported(const IPPAttribute& attribute, const IPPAttribute& supported)
{
    if (attribute.name == "media-col" || attribute.name == "media") {
        const IPPMessage alone{.groups = {{IPPTag::jobAttributes, {attribute}}}};
        return isTakenPaper(ipp::requestedPaper(alone));
    }
    return std::ranges::all_of(attribute.values, [&](const IPPValue& value) {
        return std::ranges::any_of(supported.values,
                                   [&](const IPPValue& known) { return matches(value, known); });
    });
}

} // namespace

JobTemplate readJobTemplate(const IPPMessage& request)
{
    JobTemplate result;
    const auto group =
        std::ranges::find(request.groups, IPPTag::jobAttributes, &IPPAttributeGroup::tag);
    if (group == request.groups.end()) return result;
    const auto known = ipp::jobTemplateAttributes();
    std::size_t room = maxValues;
    for (const IPPAttribute& attribute : group->attributes) {
        const auto supported =
            std::ranges::find(known, attribute.name + "-supported", &IPPAttribute::name);
        const bool isKnown = supported != known.end() && isSmall(attribute, room);
        if (isKnown && isSupported(attribute, *supported)) {
            result.settings.push_back(rebuilt(attribute));
            room -= attribute.values.size();
        } else if (attribute.name.size() <= maxTextLength &&
                   result.unsupported.attributes.size() < maxUnsupported) {
            result.unsupported.attributes.push_back(
                isKnown ? rebuilt(attribute)
                        : IPPAttribute{attribute.name, {ipp::NoValue{IPPTag::unsupportedValue}}});
        }
    }
    return result;
}

} // namespace korvane
