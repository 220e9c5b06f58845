#include "platform/files/AtomicFile.h"

#include "platform/files/Files.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

namespace korvane {

namespace {

Result<void, SystemError> write(const std::filesystem::path& path, std::string_view text)
{
    return writeFileAtomically(path, Data::copying(text).bytes());
}

/** No file may grow past `size` bytes while this lives, as on a disk that is full. */
class FullDisk {
public:
    explicit FullDisk(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    void (*handler_)(int);
    rlimit before_{};
};

} // namespace

TEST(AtomicFile, TakesTheTargetsPlaceAndLeavesNothingElse)
{
    const TemporaryFolder folder;
    const std::filesystem::path target = folder.write("target", "a longer old content");
    ASSERT_TRUE(write(target, "new"));
    EXPECT_EQ(folder.read("target"), "new");
    ASSERT_TRUE(write(target, ""));
    EXPECT_EQ(folder.read("target"), "");
    EXPECT_EQ(folder.entryCount(), 1);
}

TEST(AtomicFile, LeavesThePermissionsToTheUmask)
{
    const TemporaryFolder folder;
    const mode_t before = ::umask(027);
    ASSERT_TRUE(write(folder.path() / "file", "x"));
    ::umask(before);
    EXPECT_EQ(static_cast<int>(std::filesystem::status(folder.path() / "file").permissions()),
              0640);
}

TEST(AtomicFile, KeepsEveryByteOfALargeFile)
{
    const TemporaryFolder folder;
    constexpr std::size_t step = std::size_t{8} * 1024 * 1024;
    for (const std::size_t size : {step, 2 * step + 1}) {
        std::vector<std::uint8_t> bytes(size);
        for (std::size_t at = 0; at < size; ++at)
            bytes[at] = static_cast<std::uint8_t>(at * 31 >> 8);
        const Data data(std::move(bytes));
        ASSERT_TRUE(writeFileAtomically(folder.path() / "large", data.bytes()));
        EXPECT_TRUE(readFile(folder.path() / "large", size).value() == data);
    }
}

TEST(AtomicFile, NeverShowsAReaderHalfAFile)
{
    const TemporaryFolder folder;
    const std::filesystem::path target = folder.write("target", "old");
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (int round = 0; round < 40; ++round) {
            EXPECT_TRUE(write(target, std::string(300000, static_cast<char>('a' + round % 26))));
        }
        isDone = true;
    });
    while (!isDone) {
        const std::string seen = folder.read("target");
        EXPECT_TRUE(seen == "old" || (seen.size() == 300000 &&
                                      seen.find_first_not_of(seen.front()) == std::string::npos));
    }
    writer.join();
}

TEST(AtomicFile, SaysWhatFailedAndLeavesTheFolderAsItWas)
{
    const TemporaryFolder folder;
    folder.write("folder/inner", "kept");
    const std::filesystem::path longest = folder.path() / "folder" / std::string(255, 'n');
    ASSERT_TRUE(write(longest, "as long as a name may be"));
    std::filesystem::remove(longest);
    struct Case {
        std::filesystem::path target;
        std::string_view description;
    };
    for (const Case& c : {
             Case{folder.path() / "none" / "file", "No such file or directory"},
             Case{folder.path() / "folder" / "inner" / "file", "Not a directory"},
             Case{folder.path() / "folder", "Is a directory"},
             Case{longest.native() + "n", "File name too long"},
             Case{folder.path() / "folder" / std::string("a\0b", 3), "Invalid argument"},
         }) {
        const auto written = write(c.target, "x");
        ASSERT_FALSE(written) << c.target;
        EXPECT_EQ(written.error().description(), c.description);
        EXPECT_EQ(folder.entryCount(), 1) << c.target;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path() / "folder"), {}),
                  1)
            << c.target;
    }
}

TEST(AtomicFile, KeepsTheOldContentWhenTheDiskIsFull)
{
    const TemporaryFolder folder;
    const std::filesystem::path target = folder.write("target", "old");
    const std::string large(100000, 'x');
    {
        const FullDisk disk(50000);
        const auto written = write(target, large);
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error(), SystemError{EFBIG});
    }
    EXPECT_EQ(folder.read("target"), "old");
    EXPECT_EQ(folder.entryCount(), 1);
    EXPECT_TRUE(write(target, large));
}

} // namespace korvane
