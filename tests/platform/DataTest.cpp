#include "platform/base/Data.h"

#include "platform/base/FileDescriptor.h"
#include "platform/base/SystemError.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

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
    struct Case {
        std::size_t offset;
        std::size_t count;
        std::string_view expected;
    };
    const Data data = Data::copying("12345");
    for (const Case& c : {Case{0, SIZE_MAX, "12345"}, Case{3, 1, "4"}, Case{3, SIZE_MAX, "45"},
                          Case{5, 1, ""}, Case{SIZE_MAX, SIZE_MAX, ""}, Case{2, 0, ""}}) {
        SCOPED_TRACE(c.offset);
        EXPECT_EQ(data.slice(c.offset, c.count).text(), c.expected);
    }
}

TEST(Data, IsEqualByItsBytesWhereverTheyAre)
{
    const Data data = Data::copying("abcabc");
    EXPECT_EQ(data.slice(0, 3), data.slice(3));
    EXPECT_NE(data, data.slice(0, 5));
    EXPECT_EQ(Data(), data.slice(6));
}

TEST(Data, JoinsPiecesAndLeavesASinglePieceWhereItIs)
{
    const std::array pieces{Data::copying("one"), Data(), Data::copying("two")};
    EXPECT_EQ(Data::joining(pieces).text(), "onetwo");
    const Data alone = Data::joining(std::span(pieces).first(1));
    EXPECT_EQ(alone.bytes().data(), pieces[0].bytes().data());
    EXPECT_TRUE(Data::joining({}).empty());
}

TEST(FileDescriptor, IsClosedByTheEndOfItsLastOwnerOnly)
{
    const auto isOpen = [](int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; };
    FileDescriptor owner;
    int descriptor = -1;
    {
        FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        descriptor = first.get();
        owner = std::move(first);
    }
    EXPECT_TRUE(isOpen(descriptor));
    owner = FileDescriptor();
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(SystemError, SpeaksTheWordsOfTheSystem)
{
    EXPECT_EQ(SystemError{EADDRINUSE}.description(), "Address already in use");
    EXPECT_EQ(SystemError{ENOSPC}.description(), "No space left on device");
    ::close(-1);
    EXPECT_EQ(SystemError::last(), SystemError{EBADF});
}

} // namespace korvane
