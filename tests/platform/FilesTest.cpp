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
    const fs::path file = folder.write("file", ""), pipe = folder.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::pair<fs::path, int> cases[] = {{folder.path(), EISDIR},
                                              {pipe, EINVAL},
                                              {"/dev/zero", EINVAL},
                                              {folder.path() / "none", ENOENT},
                                              {file / "below", ENOTDIR},
                                              {file.native() + "\0.txt"s, EINVAL},
                                              {"", ENOENT}};
    for (const auto& [path, error] : cases) {
        const auto content = readFile(path, 1000);
        ASSERT_FALSE(content) << path;
        EXPECT_EQ(content.error(), SystemError{error}) << path;
    }
}

TEST(Files, TellFoldersFromFilesAndFollowLinks)
{
    const TemporaryFolder folder;
    const fs::path& root = folder.path();
    folder.write("file", "");
    fs::create_symlink(".", root / "to-folder");
    fs::create_symlink("nowhere", root / "dangling");
    const std::tuple<fs::path, bool, bool> cases[] = {{root, true, true},
                                                      {root / "", true, true},
                                                      {root / "to-folder", true, true},
                                                      {root / "file", true, false},
                                                      {root / "dangling", false, false},
                                                      {root / "none", false, false},
                                                      {root.native() + "\0x"s, false, false},
                                                      {"", false, false}};
    for (const auto& [path, exists, isFolder] : cases) {
        EXPECT_EQ(fileExists(path), exists) << path;
        EXPECT_EQ(isDirectory(path), isFolder) << path;
    }
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
