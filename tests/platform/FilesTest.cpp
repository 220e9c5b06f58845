#include "platform/files/Files.h"

#include "platform/files/UserFolders.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

namespace korvane {

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

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

TEST(Files, TellFoldersFromFilesAndFollowLinks)
{
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", ""), link = folder.path() / "link",
                   dangling = folder.path() / "dangling";
    fs::create_symlink(".", link);
    fs::create_symlink("nowhere", dangling);
    for (const fs::path& path : {folder.path(), folder.path() / "", link})
        EXPECT_TRUE(fileExists(path) && isDirectory(path)) << path;
    for (const fs::path& path :
         {dangling, folder.path() / "none", fs::path(file.native() + "\0x"s), fs::path()})
        EXPECT_FALSE(fileExists(path)) << path;
    EXPECT_TRUE(fileExists(file) && !isDirectory(file));
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
        EXPECT_EQ(makeUserFolders(configHome, home, "/account").configHome, expected);
    }
}

} // namespace korvane
