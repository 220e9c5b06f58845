#include "platform/base/ByteBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
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

} // namespace korvane
