#include "platform/files/Files.h"

#include "platform/files/UserFolders.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <string>

namespace korvane {

namespace {

using namespace std::string_literals;

} // namespace

TEST(ReadFile, ReadsRegularFilesUpToTheLimit)
{
    const TemporaryFolder folder;
    const std::string content(200000, 'x');
    const std::filesystem::path file = folder.write("file", content);
    EXPECT_EQ(readFile(file, content.size()).value().text(), content);
    EXPECT_EQ(readFile(file, content.size() - 1).error(), SystemError{EFBIG});
    EXPECT_TRUE(readFile(folder.write("empty", ""), 0).value().empty());
    std::filesystem::create_symlink("file", folder.path() / "link");
    EXPECT_EQ(readFile(folder.path() / "link", SIZE_MAX).value().text(), content);
}

TEST(ReadFile, NeitherWaitsForNorReadsFromAnythingElse)
{
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    folder.write("file", "");
    struct Case {
        std::filesystem::path path;
        int error;
    };
    for (const Case& c : {Case{folder.path(), EISDIR}, Case{folder.path() / "pipe", EINVAL},
                          Case{"/dev/zero", EINVAL}, Case{folder.path() / "none", ENOENT},
                          Case{folder.path() / "file" / "below", ENOTDIR},
                          Case{folder.path() / "file\0.txt"s, EINVAL}, Case{"", ENOENT}}) {
        const auto content = readFile(c.path, 1000);
        ASSERT_FALSE(content) << c.path;
        EXPECT_EQ(content.error(), SystemError{c.error}) << c.path;
    }
}

TEST(Files, TellFoldersFromFilesAndFollowLinks)
{
    const TemporaryFolder folder;
    const std::filesystem::path& root = folder.path();
    folder.write("file", "");
    std::filesystem::create_symlink(".", root / "to-folder");
    std::filesystem::create_symlink("nowhere", root / "dangling");
    struct Case {
        std::filesystem::path path;
        bool exists;
        bool isFolder;
    };
    for (const Case& c : {Case{root, true, true}, Case{root / "", true, true},
                          Case{root / "to-folder", true, true}, Case{root / "file", true, false},
                          Case{root / "dangling", false, false}, Case{root / "none", false, false},
                          Case{root.native() + "\0x"s, false, false}, Case{"", false, false}}) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(fileExists(c.path), c.exists);
        EXPECT_EQ(isDirectory(c.path), c.isFolder);
    }
}

TEST(Files, MakePrivateFoldersWithTheirParents)
{
    const TemporaryFolder folder;
    const std::filesystem::path deep = folder.path() / "a" / "b";
    createPrivateFolders(deep);
    createPrivateFolders(deep);
    ASSERT_TRUE(isDirectory(deep));
    EXPECT_EQ(std::filesystem::status(deep).permissions(), std::filesystem::perms::owner_all);

    createPrivateFolders(folder.write("file", "") / "below");
    EXPECT_EQ(folder.entryCount(), 2);
}

TEST(UserFolders, AreWhereTheUserPutThem)
{
    struct Case {
        std::string_view configHome;
        std::string_view home;
        std::string_view expected;
    };
    for (const Case& c : {Case{"/conf", "/home/u", "/conf"}, Case{"", "/home/u", "/home/u/.config"},
                          Case{"conf", "/home/u", "/home/u/.config"},
                          Case{"", "", "/account/.config"}, Case{"", "u", "/account/.config"}}) {
        EXPECT_EQ(makeUserFolders(c.configHome, c.home, "/account").configHome, c.expected);
    }
}

} // namespace korvane
