#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace korvane {

/** Pages of a document, counted from 1, both included (page-ranges, RFC 8011 section 5.2.7). */
struct PageRange {
    std::uint64_t first = 1;
    std::uint64_t last = 1;

    friend bool operator==(const PageRange&, const PageRange&) = default;
};

inline bool contains(const std::vector<PageRange>& ranges, std::uint64_t page)
{
    return std::ranges::any_of(ranges, [page](const PageRange& range) {
        return range.first <= page && page <= range.last;
    });
}

} // namespace korvane
