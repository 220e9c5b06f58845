#include "ipp/IPPMessage.h"

#include <algorithm>
#include <utility>

namespace korvane::ipp {

IPPAttribute makeTextAttribute(std::string name, std::vector<std::string> texts, IPPTag tag)
{
    IPPAttribute attribute{std::move(name), {}};
    attribute.values.reserve(texts.size());
    for (std::string& text : texts) attribute.values.emplace_back(Text{std::move(text), tag});
    return attribute;
}

const IPPAttribute* findAttribute(const IPPMessage& message, std::string_view name, IPPTag group)
{
    const auto found = std::ranges::find(message.groups, group, &IPPAttributeGroup::tag);
    if (found == message.groups.end()) return nullptr;
    const auto attribute = std::ranges::find(found->attributes, name, &IPPAttribute::name);
    return attribute == found->attributes.end() ? nullptr : &*attribute;
}

} // namespace korvane::ipp
