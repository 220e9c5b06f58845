#include "ipp/IPPAttribute.h"

#include <utility>

namespace korvane::ipp {

IPPAttribute makeTextAttribute(std::string name, std::vector<std::string> texts, IPPTag tag)
{
    IPPAttribute attribute{std::move(name), {}};
    attribute.values.reserve(texts.size());
    for (std::string& text : texts) attribute.values.emplace_back(Text{std::move(text), tag});
    return attribute;
}

IPPAttribute makeIntegerAttribute(std::string name, const std::vector<std::int32_t>& numbers,
                                  IntegerSyntax syntax)
{
    IPPAttribute attribute{std::move(name), {}};
    attribute.values.reserve(numbers.size());
    for (const std::int32_t number : numbers) {
        if (syntax == IntegerSyntax::enumValue) {
            attribute.values.emplace_back(EnumValue{number});
        } else {
            attribute.values.emplace_back(Integer{number});
        }
    }
    return attribute;
}

} // namespace korvane::ipp
