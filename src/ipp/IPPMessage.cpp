#include "ipp/IPPMessage.h"

#include <algorithm>

namespace korvane::ipp {

const IPPAttribute* findAttribute(const IPPMessage& message, std::string_view name, IPPTag group)
{
    const auto found = std::ranges::find(message.groups, group, &IPPAttributeGroup::tag);
    if (found == message.groups.end()) return nullptr;
    const auto attribute = std::ranges::find(found->attributes, name, &IPPAttribute::name);
    return attribute == found->attributes.end() ? nullptr : &*attribute;
}

} // namespace korvane::ipp
