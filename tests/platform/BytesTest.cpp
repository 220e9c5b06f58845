#include "platform/base/ByteBuffer.h"
#include "platform/base/Data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

namespace korvane {

namespace {

std::string content(const ByteBuffer& buffer)
{
    return {buffer.bytes().begin(), buffer.bytes().end()};
}

} // namespace

TEST(ByteBuffer, KeepsItsBytesInOrderHoweverAppendingAndConsumingAlternate)
{
    std::mt19937 random(20250301); // NOLINT: the same sequence in every run
    ByteBuffer buffer;
    std::string expected;
    for (int step = 0; step < 5000; ++step) {
        const std::string piece(random() % 900, static_cast<char>('a' + step % 26));
        switch (random() % 3) {
        case 0: buffer.append(piece); break;
        case 1:
            std::ranges::copy(piece, buffer.prepare(piece.size() + 100).begin());
            buffer.commit(piece.size());
            break;
        default:
            for (const char byte : piece) buffer.append(static_cast<std::uint8_t>(byte));
        }
        expected += piece;
        const std::size_t used = std::min<std::size_t>(random() % 1000, expected.size());
        buffer.consume(used);
        expected.erase(0, used);
        ASSERT_EQ(content(buffer), expected) << "after step " << step;
    }
}

TEST(ByteBuffer, GivesItsBytesAwayWithoutCopyingAndStartsAnew)
{
    ByteBuffer buffer;
    buffer.append("headbody");
    buffer.consume(4);
    const std::uint8_t* body = buffer.bytes().data();
    const Data taken = buffer.take();
    EXPECT_EQ(taken.bytes().data(), body);
    EXPECT_TRUE(buffer.empty());
    buffer.append("next");
    EXPECT_EQ(taken.text(), "body");
    const ByteBuffer moved = std::move(buffer);
    buffer.append("x"); // NOLINT: that it may be used again is the point
    EXPECT_EQ(content(moved), "next");
    EXPECT_EQ(content(buffer), "x"); // NOLINT
}

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
