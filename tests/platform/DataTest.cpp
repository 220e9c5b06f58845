#include "platform/base/Data.h"

#include <gtest/gtest.h>

#include <array>

namespace korvane {

TEST(Data, SlicesShareTheStorageAndOutliveTheWhole)
{
    Data whole = Data::copying("a document");
    const Data slice = whole.slice(2).slice(0, 3);
    EXPECT_EQ(slice.bytes().data(), whole.bytes().data() + 2);
    whole = Data();
    EXPECT_EQ(slice.text(), "doc");
}

TEST(Data, SlicesLeaveOutWhatLiesPastTheEnd)
{
    const Data data = Data::copying("12345");
    const std::tuple<std::size_t, std::size_t, std::string_view> cases[] = {
        {0, SIZE_MAX, "12345"},   {3, 1, "4"}, {3, SIZE_MAX, "45"}, {5, 1, ""},
        {SIZE_MAX, SIZE_MAX, ""}, {2, 0, ""}};
    for (const auto& [offset, count, expected] : cases)
        EXPECT_EQ(data.slice(offset, count).text(), expected);
}

TEST(Data, JoinsPiecesAndLeavesASinglePieceWhereItIs)
{
    const std::array pieces{Data::copying("one"), Data(), Data::copying("two")};
    EXPECT_EQ(Data::joining(pieces).text(), "onetwo");
    EXPECT_EQ(Data::joining(std::span(pieces).first(1)).bytes().data(), pieces[0].bytes().data());
}

} // namespace korvane
