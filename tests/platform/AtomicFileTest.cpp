#include "platform/files/AtomicFile.h"

#include "platform/files/Files.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>

namespace korvane {

namespace {

namespace fs = std::filesystem;

Result<void, SystemError> write(const fs::path& path, std::string_view text)
{
    return writeFileAtomically(path, Data::copying(text).bytes());
}

} // namespace

TEST(AtomicFile, TakesTheTargetsPlaceAndLeavesNothingElse)
{
    const TemporaryFolder folder;
    const fs::path target = folder.write("target", "a longer old content");
    const mode_t before = ::umask(027);
    ASSERT_TRUE(write(target, "new"));
    ::umask(before);
    EXPECT_EQ(folder.read("target"), "new");
    EXPECT_EQ(static_cast<int>(fs::status(target).permissions()), 0640);
    ASSERT_TRUE(write(target, ""));
    EXPECT_EQ(folder.read("target"), "");
    EXPECT_EQ(folder.entryCount(), 1);
}

TEST(AtomicFile, KeepsEveryByteOfALargeFile)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {std::size_t{8} << 20, (std::size_t{16} << 20) + 1}) {
        std::vector<std::uint8_t> bytes(size);
        for (std::size_t at = 0; at < size; ++at)
            bytes[at] = static_cast<std::uint8_t>(at * 31 >> 8);
        ASSERT_TRUE(writeFileAtomically(folder.path() / "large", bytes));
        EXPECT_TRUE(readFile(folder.path() / "large", size).value() == Data(bytes));
    }
}

TEST(AtomicFile, SaysWhatFailedAndLeavesTheFolderAsItWas)
{
    const TemporaryFolder folder;
    folder.write("folder/inner", "kept");
    const fs::path inside = folder.path() / "folder", longest = inside / std::string(255, 'n');
    ASSERT_TRUE(write(longest, "as long as a name may be"));
    fs::remove(longest);
    const std::pair<fs::path, std::string> cases[] = {
        {folder.path() / "none" / "file", "No such file or directory"},
        {inside / "inner" / "file", "Not a directory"},
        {inside, "Is a directory"},
        {longest.native() + "n", "File name too long"},
        {inside / std::string("a\0b", 3), "Invalid argument"}};
    for (const auto& [target, description] : cases) {
        const auto written = write(target, "x");
        ASSERT_FALSE(written) << target;
        EXPECT_EQ(written.error().description(), description);
        EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder.path()), {}), 2) << target;
    }
}

TEST(AtomicFile, KeepsTheOldContentWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    const fs::path target = folder.write("target", "old");
    const std::string large(100000, 'x');
    // No file may grow past this size, as on a disk that is full.
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{50000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const auto written = write(target, large);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    ASSERT_FALSE(written);
    EXPECT_EQ(written.error(), SystemError{EFBIG});
    EXPECT_EQ(folder.read("target"), "old");
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_TRUE(write(target, large));
}

} // namespace korvane
