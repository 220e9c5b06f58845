#include "config/SettingsFile.h"

#include "config/SettingsKeys.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace korvane {
namespace {

using testing::HasSubstr;
using Kind = SettingsFile::Error::Kind;

TEST(SettingsKeys, TakeWhatThePrinterCanUseAndSayWhatIsWrongElse)
{
    const TemporaryFolder home;
    const std::string file = home.write("plain", "").string();
    const std::string port = "A port is a number from 1024 to 65535";
    const std::string flag = "This is turned on with \"yes\" and off with \"no\"";
    struct {
        std::string key, text, problem, taken = {};
    } const cases[] = {{"printerName", "Desk ß", ""},
                       {"printerName", " \n", "A printer needs a name"},
                       {"printerName", "", "A printer needs a name"},
                       {"printerName", "a\nb", "A printer's name is one line"},
                       {"printerName", "\xFF", "That is not text in UTF-8"},
                       {"saveDirectoryPath", home.path(), ""},
                       {"saveDirectoryPath", "", "No save folder is chosen"},
                       {"saveDirectoryPath", "scans",
                        "\"scans\" is not an absolute path, which begins with \"/\""},
                       {"saveDirectoryPath", "/no/such", "There is no folder /no/such"},
                       {"saveDirectoryPath", file, file + " is not a folder"},
                       {"notesEnabled", "on", "", "yes"},
                       {"notesEnabled", "false", "", "no"},
                       {"notesEnabled", "1", flag},
                       {"notesFolder", "Paper", ""},
                       {"notesFolder", "", ""},
                       {"ippPort", "1024", ""},
                       {"ippPort", "65535", ""},
                       {"ippPort", "1023", port},
                       {"ippPort", "65536", port},
                       {"ippPort", "-1", port},
                       {"ippPort", "8631x", port},
                       {"ippPort", "", port},
                       {"ippEverywhere", "yes", ""},
                       {"ippEverywhere", "maybe", flag}};
    for (const auto& [name, text, problem, taken] : cases) {
        const SettingsKey* const key = findSettingsKey(name);
        ASSERT_NE(key, nullptr) << name;
        AppSettings settings{.printerName = "Before"};
        const AppSettings before = settings;
        EXPECT_EQ(key->assign(settings, text).value_or(""), problem) << name << ' ' << text;
        if (problem.empty()) {
            EXPECT_EQ(key->text(settings), taken.empty() ? text : taken);
        } else {
            EXPECT_EQ(settings, before);
        }
    }
    EXPECT_EQ(findSettingsKey("port"), nullptr);
}

/** A settings file that others know too. */
class SettingsFileTest : public testing::Test {
protected:
    SettingsFile::Error refusal(const AppSettings& settings) const
    {
        const auto written = file.write(settings);
        return written ? SettingsFile::Error{} : written.error();
    }

    TemporaryFolder home;
    AppSettings office{"Office", home.path(), true, "Paper", 9000, true};
    SettingsFile file{home.path() / "config" / "settings.json"};
};

TEST_F(SettingsFileTest, IsMadeForItsUsersEyesAndKeepsWhatItDoesNotKnow)
{
    EXPECT_EQ(file.read().value(), std::nullopt);
    ASSERT_TRUE(file.write(office));
    EXPECT_EQ(file.read().value(), office);
    struct stat status {};
    ::stat(file.path().c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    home.write("config/settings.json",
               R"({"theme": {"dark": [1, 2.5]}, "printerName": "Old", "zoom": 1e3,
                   "saveDirectoryPath": "/", "notesEnabled": true, "notesFolder": "Paper"})");
    ASSERT_TRUE(file.write(office));
    EXPECT_EQ(file.read().value(), office);
    const std::string text = home.read("config/settings.json");
    EXPECT_THAT(text, HasSubstr("\"zoom\": 1000.0"));
    EXPECT_LT(text.find("\"dark\""), text.find("Office")) << "and in their order";
}

TEST_F(SettingsFileTest, StaysALinkToTheFileThatItNames)
{
    home.write("dotfiles/korvane.json", "{}");
    std::filesystem::create_directory(home.path() / "config");
    std::filesystem::create_symlink("../dotfiles/korvane.json", file.path());
    ASSERT_TRUE(file.write(office));
    EXPECT_TRUE(std::filesystem::is_symlink(file.path()));
    EXPECT_THAT(home.read("dotfiles/korvane.json"), HasSubstr("Office"));
}

TEST_F(SettingsFileTest, IsLeftAsItIsByWhatThePrinterWouldNotRunWith)
{
    ASSERT_TRUE(file.write(office));
    AppSettings wrong = office;
    wrong.ippPort = 80;
    EXPECT_EQ(refusal(wrong).description, "A port is a number from 1024 to 65535");
    wrong = office;
    wrong.saveDirectoryPath.clear();
    EXPECT_EQ(refusal(wrong).description, "No save folder is chosen");
    wrong = office;
    wrong.notesFolder = "\xFF";
    EXPECT_EQ(refusal(wrong).kind, Kind::refused);
    EXPECT_EQ(file.read().value(), office);
    for (const std::string damaged : {"{", "[]", R"({"ippPort": "x"})"}) {
        home.write("config/settings.json", damaged);
        EXPECT_EQ(file.read().error().kind, Kind::refused) << damaged;
        if (damaged.ends_with('}')) continue; // Writing all settings mends that.
        EXPECT_EQ(refusal(office).kind, Kind::refused) << damaged;
        EXPECT_EQ(home.read("config/settings.json"), damaged);
    }
    std::filesystem::remove(file.path());
    std::filesystem::create_directory(file.path());
    EXPECT_EQ(file.read().error().kind, Kind::access);
    EXPECT_EQ(file.read().error().description,
              file.path().string() + " cannot be read: Is a directory");
}

} // namespace
} // namespace korvane
