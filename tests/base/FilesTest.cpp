#include "base/Files.h"

#include "base/AtomicFile.h"
#include "base/User.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>

namespace korvane {

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

Result<void, SystemError> write(const fs::path& path, std::string_view text)
{
    return writeFileAtomically(path, Data::copying(text).bytes());
}

} // namespace

TEST(ReadFile, ReadsRegularFilesUpToTheLimit)
{
    const TemporaryFolder folder;
    const std::string content(200000, 'x');
    const fs::path file = folder.write("file", content);
    EXPECT_EQ(readFile(file, content.size()).value().text(), content);
    EXPECT_EQ(readFile(file, content.size() - 1).error(), SystemError{EFBIG});
    EXPECT_TRUE(readFile(folder.write("empty", ""), 0).value().empty());
}

TEST(ReadFile, NeitherWaitsForNorReadsFromAnythingElse)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "");
    const std::string pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::pair<std::string, int> cases[] = {{folder.path(), EISDIR},
                                                 {pipe, EINVAL},
                                                 {"/dev/zero", EINVAL},
                                                 {file + "s", ENOENT},
                                                 {file + "/s", ENOTDIR},
                                                 {file + "\0.txt"s, EINVAL},
                                                 {"", ENOENT}};
    for (const auto& [path, error] : cases)
        EXPECT_EQ(readFile(path, 1000), failure(SystemError{error})) << path;
}

TEST(Files, MakePrivateFoldersWithTheirParents)
{
    const TemporaryFolder folder;
    const fs::path deep = folder.path() / "a" / "b";
    createPrivateFolders(deep);
    EXPECT_EQ(fs::status(deep).permissions(), fs::perms::owner_all);
    createPrivateFolders(folder.write("file", "") / "below");
    EXPECT_EQ(folder.entryCount(), 2);
}

TEST(UserFolders, AreWhereTheUserPutThem)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"/conf", "/home/u", "/conf"},
        {"", "/home/u", "/home/u/.config"},
        {"conf", "/home/u", "/home/u/.config"},
        {"", "", "/account/.config"},
        {"", "u", "/account/.config"}};
    for (const auto& [configHome, home, expected] : cases) {
        EXPECT_EQ(makeUserFolders({.configHome = configHome, .home = home}, "/account").configHome,
                  expected);
    }
    EXPECT_EQ(makeUserFolders({.stateHome = "/state"}, "/account").stateHome, "/state");
    EXPECT_EQ(makeUserFolders({}, "/account").stateHome, "/account/.local/state");
}

TEST(UserFolders, SayWhereTheDocumentsAre)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "/home/u/Documents"},
        {"# XDG_DOCUMENTS_DIR=\"/no\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n",
         "/home/u/Dokumente"},
        {" XDG_DOCUMENTS_DIR=\"/a b/\\\"c\\$\" # mine", "/a b/\"c$"},
        {"XDG_DOCUMENTS_DIR=\"/first\"\nXDG_DOCUMENTS_DIR=\"/last\"", "/last"},
        {"XDG_DOCUMENTS_DIR=\"relative\"\nXDG_DOCUMENTS_DIR=/unquoted", "/home/u/Documents"},
        {"XDG_DOCUMENTS_DIR=\"/cut\\", "/cut"}};
    const TemporaryFolder folder;
    for (const auto& [lines, documents] : cases) {
        folder.write("user-dirs.dirs", lines);
        EXPECT_EQ(documentsFolder({.configHome = folder.path(), .home = "/home/u"}), documents);
    }
}

TEST(AtomicFile, GivesANewFileNoNameThatIsTaken)
{
    const TemporaryFolder folder;
    const fs::path source = folder.write("source", std::string(300000, 's')),
                   taken = folder.write("taken", "old");
    fs::create_symlink("nowhere", folder.path() / "link");
    for (const fs::path& target : {taken, folder.path() / "link"}) {
        EXPECT_EQ(writeNewFileAtomically(target, {}), failure(SystemError{EEXIST}));
        EXPECT_EQ(copyToNewFileAtomically(source, target), failure(SystemError{EEXIST}));
    }
    EXPECT_EQ(copyToNewFileAtomically(folder.path(), folder.path() / "new"),
              failure(SystemError{EISDIR}));
    EXPECT_EQ(folder.read("taken"), "old");
    EXPECT_EQ(folder.entryCount(), 3);
    ASSERT_TRUE(copyToNewFileAtomically(source, folder.path() / "copy"));
    EXPECT_EQ(folder.read("copy"), folder.read("source"));
}

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
    std::string content;
    while (content.size() <= std::size_t{16} << 20) content += std::to_string(content.size());
    ASSERT_TRUE(write(folder.path() / "large", content));
    EXPECT_TRUE(folder.read("large") == content);
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
