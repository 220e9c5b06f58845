#include "platform/base/ByteBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>

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
        case 1: {
            const std::span<std::uint8_t> room = buffer.prepare(piece.size() + 100);
            std::ranges::copy(piece, room.begin());
            buffer.commit(piece.size());
            break;
        }
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
    EXPECT_EQ(content(buffer), "next");
    EXPECT_TRUE(ByteBuffer().take().empty());
}

TEST(ByteBuffer, IsEmptyAndUsableAfterItsBytesMovedElsewhere)
{
    ByteBuffer first;
    first.append("one");
    ByteBuffer second(std::move(first));
    // That it may be used again is what this test is about.
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    first.append("two");
    EXPECT_EQ(content(first), "two");
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(content(second), "one");
    second = std::move(first);
    EXPECT_EQ(content(second), "two");
}

} // namespace korvane
