#include "ipp/RequestedPages.h"

#include <variant>

namespace korvane::ipp {

namespace {

constexpr std::size_t maxRanges = 64;

} // namespace

std::vector<PageRange> requestedPages(const IPPMessage& request)
{
    const auto* attribute = findAttribute(request, "page-ranges", IPPTag::jobAttributes);
    if (attribute == nullptr || attribute->values.size() > maxRanges) return {};
    std::vector<PageRange> ranges;
    for (const IPPValue& value : attribute->values) {
        const auto* range = std::get_if<RangeOfInteger>(&value);
        if (range == nullptr || range->lower < 1 || range->upper < range->lower) continue;
        ranges.push_back(
            {static_cast<std::uint64_t>(range->lower), static_cast<std::uint64_t>(range->upper)});
    }
    return ranges;
}

} // namespace korvane::ipp
