#include "ipp/RequestedAttributes.h"

#include <variant>

namespace korvane {

namespace {

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
        if (const auto* name = std::get_if<ipp::Text>(&value)) names_.insert(name->text);
    }
}

bool RequestedAttributes::wants(std::string_view name, AttributeKind kind) const
{
    if (names_.contains(name)) return true;
    return kind != AttributeKind::onlyByName &&
           (names_.contains("all") || names_.contains(groupName(kind)));
}

} // namespace korvane
