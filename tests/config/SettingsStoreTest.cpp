#include "config/SettingsStore.h"

#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace korvane {

namespace {

/** A user's config home, with the settings that another program wrote into it. */
class SettingsStoreTest : public testing::Test {
protected:
    void save(const std::string& saveDirectory, const std::string& port = "8631") const
    {
        const std::string rest =
            R"("printerName": "Office", "notesEnabled": true, "notesFolder": "Paper"})";
        home_.write("Korvane/settings.json", R"({"saveDirectoryPath": ")" + saveDirectory +
                                                 R"(", "ippPort": )" + port + ", " + rest);
    }

    TemporaryFolder home_;
    TemporaryFolder scans_;
    SettingsStore store_{home_.path(), "desk"};
    RecordingLog log_;
};

} // namespace

TEST(AppSettings, AreCompleteWithANameAFolderAndAnUnprivilegedPort)
{
    const std::tuple<const char*, const char*, std::uint16_t, bool> cases[] = {
        {"p", "/s", 8631, true},  {"p", "", 8631, false},     {"p", " ", 8631, true},
        {"", "/s", 8631, false},  {"   ", "/s", 8631, false}, {"\t\u00A0\u3000", "/s", 8631, false},
        {"\n", "/s", 8631, true}, {"p", "/s", 1023, false},   {"p", "/s", 1024, true}};
    for (const auto& [name, folder, port, expected] : cases) {
        EXPECT_EQ(isConfigured({name, folder, false, "", port}), expected)
            << name << folder << port;
    }
}

TEST_F(SettingsStoreTest, ReadsTheFileAnewForEveryCallAndFallsBackToAllDefaults)
{
    const AppSettings defaults{"Virtual Printer on desk", "", false, "Printed", 8631};
    EXPECT_EQ(store_.loadSettings(), defaults);
    EXPECT_EQ(SettingsStore(home_.path(), std::nullopt).defaultSettings().printerName,
              "Korvane Printer");
    save("/srv/scans");
    EXPECT_EQ(store_.loadSettings(), (AppSettings{"Office", "/srv/scans", true, "Paper", 8631}));
    save("/srv/scans", "70000");
    EXPECT_EQ(store_.loadSettings(), defaults);
    save(std::string(2 << 20, 'x'));
    EXPECT_EQ(store_.loadSettings(), defaults);
}

TEST_F(SettingsStoreTest, StampsTheVersionAndLogsAStampThatCannotBeWritten)
{
    store_.writeVersionStamp("0.1.0 (a longer build)", log_);
    store_.writeVersionStamp("0.2.0", log_);
    EXPECT_EQ(home_.read("Korvane/agent-version"), "0.2.0");
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
    std::filesystem::remove_all(home_.path() / "Korvane");
    home_.write("Korvane", "a file in the folder's place");
    store_.writeVersionStamp("0.1.0", log_);
    EXPECT_THAT(log_.errors(), testing::ElementsAre(
                                   "KorvaneAgent: couldn't write version stamp: Not a directory"));
}

} // namespace korvane
