#include "base/ByteBuffer.h"
#include "base/Data.h"
#include "base/SealedBytes.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
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

TEST(ByteBuffer, MovesItsBytesSeldomHoweverTheyComeAndGo)
{
    constexpr std::size_t size = std::size_t{1} << 16;
    ByteBuffer buffer;
    int moves = 0;
    const auto counting = [&](std::ptrdiff_t step, auto change) {
        const std::uint8_t* expected = buffer.bytes().data() + step;
        change();
        if (buffer.bytes().data() != expected) ++moves;
    };
    for (std::size_t i = 0; i < size; ++i) counting(0, [&] { buffer.append(std::uint8_t{0}); });
    for (std::size_t i = 0; i < size; ++i) {
        counting(1, [&] { buffer.consume(1); });
        counting(0, [&] { buffer.append(std::uint8_t{0}); });
    }
    EXPECT_LT(moves, 32) << "of " << 3 * size << " steps";
    for (std::size_t i = 1; i < size; ++i) counting(1, [&] { buffer.consume(1); });
    EXPECT_LT(moves, 32);
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

TEST(SealedBytes, HandOverAllThatADocumentHoldsAndCopyOnlyWhatIsSmall)
{
    ByteBuffer buffer;
    buffer.append("head");
    std::string content;
    for (int piece = 0; piece < 13; ++piece) {
        const std::string part((std::size_t{1} << 20) - static_cast<std::size_t>(piece % 3),
                               static_cast<char>('a' + piece));
        if (piece % 2 == 0) {
            buffer.append(part);
        } else {
            for (const char byte : part) buffer.append(static_cast<std::uint8_t>(byte));
        }
        content += part;
    }
    buffer.prepare(std::size_t{100} << 20);
    buffer.consume(4);
    const Data large = buffer.take().slice(5, content.size() - 10);
    const Data small = Data::copying("a small document").slice(2);
    EXPECT_EQ(large.text(), std::string_view(content).substr(5, content.size() - 10));
    ASSERT_TRUE(large.shared());
    EXPECT_FALSE(small.shared());
    EXPECT_FALSE(Data().shared());
    struct stat file {};
    ASSERT_EQ(::fstat(large.shared()->descriptor, &file), 0);
    EXPECT_EQ(file.st_size, static_cast<off_t>(content.size() + 4)) << "the room was given back";

    for (const Data& data : {large, small, Data()}) {
        const auto sealed = sealBytes(data);
        ASSERT_TRUE(sealed);
        EXPECT_EQ(mapSealedBytes(*sealed).value(), data);
        EXPECT_EQ(::pwrite(sealed->file->get(), "x", 1, 0), -1);
        EXPECT_NE(::ftruncate(sealed->file->get(), 1), 0);
    }
}

TEST(SealedBytes, AreNotReadFromMemoryThatMayShrinkOrBeyondItsEnd)
{
    const auto sealed = sealBytes(Data::copying("0123456789"));
    ASSERT_TRUE(sealed);
    const std::pair<std::uint64_t, std::uint64_t> cases[] = {
        {0, 11}, {5, 6}, {11, 0}, {UINT64_MAX, 2}, {2, UINT64_MAX}};
    for (const auto& [offset, length] : cases) {
        const SealedBytes bytes{sealed->file, offset, length};
        EXPECT_EQ(mapSealedBytes(bytes).error().code, EINVAL);
    }
    const SealedBytes unsealed{share(FileDescriptor(::memfd_create("test", MFD_ALLOW_SEALING))), 0,
                               1};
    ASSERT_EQ(::ftruncate(unsealed.file->get(), 1), 0);
    EXPECT_FALSE(mapSealedBytes(unsealed));
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
