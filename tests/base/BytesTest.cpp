#include "base/ByteBuffer.h"
#include "base/Data.h"
#include "support/TestDocument.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace korvane {

namespace {

std::string content(const ByteBuffer& buffer)
{
    return {buffer.bytes().begin(), buffer.bytes().end()};
}

} // namespace

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

TEST(DocumentMapping, MapsTheDocumentAloneAndOnlyAWholeOneInARegularFile)
{
    DocumentFile document = documentFile("a document and more");
    document.length = 10;
    const Data mapped = mapDocument(document).value();
    EXPECT_EQ(mapped.text(), "a document");
    releasePages(mapped);
    EXPECT_EQ(mapped.text(), "a document");
    document.length = 0;
    EXPECT_EQ(mapDocument(document), Data());
    document.length = 20;
    EXPECT_EQ(mapDocument(document).error().code, EINVAL);
    const DocumentFile device{share(FileDescriptor(::open("/dev/zero", O_RDONLY))), 1};
    EXPECT_EQ(mapDocument(device).error().code, EINVAL);
    EXPECT_EQ(mapDocument({share(FileDescriptor()), 1}).error().code, EBADF);
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

} // namespace korvane
