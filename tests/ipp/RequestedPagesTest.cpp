#include "ipp/RequestedPages.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

TEST(RequestedPages, AreThoseOfTheJobThatAreRangesOfPages)
{
    using ipp::RangeOfInteger;
    const std::tuple<IPPTag, std::vector<IPPValue>, std::vector<PageRange>> cases[] = {
        {IPPTag::jobAttributes,
         {RangeOfInteger{2, 3}, RangeOfInteger{7, 2147483647}},
         {{2, 3}, {7, 2147483647}}},
        {IPPTag::jobAttributes,
         {RangeOfInteger{0, 3}, RangeOfInteger{-5, -1}, RangeOfInteger{3, 2}, ipp::Integer{4}},
         {}},
        {IPPTag::operationAttributes, {RangeOfInteger{2, 3}}, {}}};
    for (const auto& [group, values, expected] : cases) {
        const IPPMessage request{.groups = {{group, {{"page-ranges", values}}}}};
        EXPECT_EQ(ipp::requestedPages(request), expected);
    }
}

} // namespace
} // namespace korvane
