#include "ipp/Collections.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace korvane::ipp {

namespace {

/** Far more than any client sends in one attribute. */
constexpr std::size_t maxValues = 1024;
/** Of a keyword, which a name is (RFC 8011 section 5.1.4). Each value of a member repeats it. */
constexpr std::size_t maxNameLength = 255;

/** The text of a value that is on the wire with such a tag; null if it is another. */
const std::string* textOf(const IPPValue& value, IPPTag tag)
{
    const auto* text = std::get_if<Text>(&value);
    return text != nullptr && text->tag == tag ? &text->text : nullptr;
}

std::optional<Collection> takeCollection(std::span<const IPPValue>& values, std::size_t depth)
{
    if (values.empty() || depth == 0 || textOf(values.front(), IPPTag::begCollection) == nullptr)
        return {};
    values = values.subspan(1);
    Collection collection;
    const std::string* name = nullptr;
    while (!values.empty()) {
        const IPPValue& value = values.front();
        if (textOf(value, IPPTag::begCollection) != nullptr) {
            auto inner = takeCollection(values, depth - 1);
            if (!inner || name == nullptr) return {};
            collection.members.push_back({*name, *std::move(inner)});
            continue;
        }
        values = values.subspan(1);
        if (textOf(value, IPPTag::endCollection) != nullptr) return collection;
        if (const std::string* next = textOf(value, IPPTag::memberAttrName)) {
            if (next->size() > maxNameLength) return {};
            name = next;
        } else {
            if (name == nullptr) return {};
            collection.members.push_back({*name, value});
        }
    }
    return {};
}

} // namespace

std::optional<Collection> takeCollection(std::span<const IPPValue>& values)
{
    if (values.size() > maxValues) return {};
    return takeCollection(values, maxCollectionDepth);
}

const IPPValue* findMember(const Collection& collection, std::string_view name)
{
    const auto found = std::ranges::find(collection.members, name, &IPPMember::name);
    return found == collection.members.end() ? nullptr : &found->value;
}

} // namespace korvane::ipp
