#include "config/SettingsStore.h"

#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

namespace korvane {

namespace {

/** A user's config home, with the settings that another program wrote into it. */
class SettingsStoreTest : public testing::Test {
protected:
    void save(std::string_view saveDirectory) const
    {
        home_.write("Korvane/settings.json",
                    fmt::format(R"({{"printerName": "Office", "saveDirectoryPath": "{}",
                                     "notesEnabled": true, "notesFolder": "Paper"}})",
                                saveDirectory));
    }

    TemporaryFolder home_;
    TemporaryFolder scans_;
    SettingsStore store_{home_.path(), "desk"};
};

} // namespace

TEST(AppSettings, AreCompleteWithANameAFolderAndAnUnprivilegedPort)
{
    struct Case {
        AppSettings settings;
        bool isConfigured;
    };
    for (const Case& c : {
             Case{{.printerName = "p", .saveDirectoryPath = "/s"}, true},
             Case{{.printerName = "p", .saveDirectoryPath = ""}, false},
             Case{{.printerName = "p", .saveDirectoryPath = " "}, true},
             Case{{.printerName = "", .saveDirectoryPath = "/s"}, false},
             Case{{.printerName = "   ", .saveDirectoryPath = "/s"}, false},
             Case{{.printerName = "\t\u00A0\u3000", .saveDirectoryPath = "/s"}, false},
             Case{{.printerName = "\n", .saveDirectoryPath = "/s"}, true},
             Case{{.printerName = "p", .saveDirectoryPath = "/s", .ippPort = 1023}, false},
             Case{{.printerName = "p", .saveDirectoryPath = "/s", .ippPort = 1024}, true},
         }) {
        EXPECT_EQ(isConfigured(c.settings), c.isConfigured)
            << testing::PrintToString(c.settings.printerName) << ' ' << c.settings.ippPort;
    }
}

TEST_F(SettingsStoreTest, NamesThePrinterAfterTheComputerByDefault)
{
    const AppSettings expected{"Virtual Printer on desk", "", false, "Printed", 8631};
    EXPECT_EQ(store_.defaultSettings(), expected);
    EXPECT_EQ(SettingsStore(home_.path(), std::nullopt).defaultSettings().printerName,
              "Korvane Printer");
}

TEST_F(SettingsStoreTest, ReadsTheFileAnewForEveryCall)
{
    EXPECT_EQ(store_.loadSettings(), store_.defaultSettings());
    save("/srv/scans");
    EXPECT_EQ(store_.loadSettings(), (AppSettings{"Office", "/srv/scans", true, "Paper", 8631}));
    std::filesystem::remove(home_.path() / "Korvane" / "settings.json");
    EXPECT_EQ(store_.loadSettings(), store_.defaultSettings());
}

TEST_F(SettingsStoreTest, FallsBackToAllDefaultsWhenOneMemberIsWrong)
{
    home_.write("Korvane/settings.json",
                R"({"printerName": "Office", "saveDirectoryPath": "/srv", "notesEnabled": true,
                    "notesFolder": "Paper", "ippPort": 70000})");
    EXPECT_EQ(store_.loadSettings(), store_.defaultSettings());
}

TEST_F(SettingsStoreTest, TakesNeitherAPipeNorAHugeFileForSettings)
{
    const std::filesystem::path file = store_.supportDirectory() / "settings.json";
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(store_.loadSettings(), store_.defaultSettings());
    std::filesystem::remove(file);
    save(std::string(2 << 20, 'x'));
    EXPECT_EQ(store_.loadSettings(), store_.defaultSettings());
}

TEST_F(SettingsStoreTest, ResolvesTheSaveFolderWhileItIsThere)
{
    scans_.write("file", "");
    struct Case {
        std::string path;
        bool isThere;
    };
    const std::string scans = scans_.path().string();
    for (const Case& c :
         {Case{scans, true}, Case{scans + "/", true}, Case{"", false}, Case{scans + "/file", false},
          Case{scans + "/none", false}, Case{"~", false}, Case{scans + "\\u0000", false}}) {
        SCOPED_TRACE(c.path);
        save(c.path);
        const std::optional<std::filesystem::path> folder = store_.resolvedSaveDirectory();
        EXPECT_EQ(folder, c.isThere ? std::optional(std::filesystem::path(c.path)) : std::nullopt);
    }
    save(scans);
    std::filesystem::remove(home_.path() / "Korvane" / "settings.json");
    EXPECT_EQ(store_.resolvedSaveDirectory(), std::nullopt);
}

TEST_F(SettingsStoreTest, MakesTheSupportFolderWheneverItIsAskedFor)
{
    const SettingsStore store(home_.path() / "deep" / "config", std::nullopt);
    EXPECT_EQ(store.supportDirectory(), home_.path() / "deep" / "config" / "Korvane");
    std::filesystem::remove_all(home_.path() / "deep");
    EXPECT_TRUE(std::filesystem::is_directory(store.supportDirectory()));
}

TEST_F(SettingsStoreTest, StampsTheVersionWithoutALineEndAndReplacesTheLast)
{
    RecordingLog log;
    store_.writeVersionStamp("0.1.0 (a longer build)", log);
    store_.writeVersionStamp("0.2.0", log);
    EXPECT_EQ(home_.read("Korvane/agent-version"), "0.2.0");
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(SettingsStoreTest, LogsAStampThatCannotBeWritten)
{
    RecordingLog log;
    home_.write("Korvane", "a file in the folder's place");
    store_.writeVersionStamp("0.1.0", log);
    EXPECT_THAT(log.entries(), testing::ElementsAre(RecordingLog::Entry{
                                   LogLevel::error,
                                   "KorvaneAgent: couldn't write version stamp: Not a directory"}));
}

} // namespace korvane
