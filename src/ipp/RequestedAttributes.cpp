#include "ipp/RequestedAttributes.h"

#include <variant>

namespace korvane {

namespace {

/** As long as a keyword may be (RFC 8011 section 5.1.4). */
constexpr std::size_t maxKeyword = 255;
/** More than there are attributes. */
constexpr std::size_t maxNames = 1000;

std::string_view groupName(AttributeKind kind)
{
    switch (kind) {
    case AttributeKind::printerDescription: return "printer-description";
    case AttributeKind::jobDescription: return "job-description";
    case AttributeKind::jobTemplate: return "job-template";
    case AttributeKind::onlyByName: break;
    }
    return {};
}

} // namespace

RequestedAttributes::RequestedAttributes(const IPPMessage& request,
                                         const std::vector<std::string>& defaults)
{
    const IPPAttribute* requested =
        ipp::findAttribute(request, "requested-attributes", IPPTag::operationAttributes);
    if (requested == nullptr) {
        names_.insert(defaults.begin(), defaults.end());
        return;
    }
    for (const IPPValue& value : requested->values) {
        const auto* name = std::get_if<ipp::Text>(&value);
        if (name != nullptr && name->text.size() <= maxKeyword && names_.size() < maxNames)
            names_.insert(name->text);
    }
}

bool RequestedAttributes::wants(std::string_view name, AttributeKind kind) const
{
    if (names_.contains(name)) return true;
    return kind != AttributeKind::onlyByName &&
           (names_.contains("all") || names_.contains(groupName(kind)));
}

} // namespace korvane
