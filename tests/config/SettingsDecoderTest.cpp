#include "config/AppSettings.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace korvane {

namespace {

constexpr std::string_view required = R"("printerName": "Office", "saveDirectoryPath": "/srv/scans",
    "notesEnabled": true, "notesFolder": "Paper")";

AppSettings office(std::uint16_t port = 8631)
{
    return {"Office", "/srv/scans", true, "Paper", port};
}

std::string withMember(std::string_view member)
{
    return fmt::format("{{{}, {}}}", required, member);
}

} // namespace

TEST(SettingsDecoder, TakesAPortThatIsAWholeNumberInRangeOrNone)
{
    const std::pair<std::string_view, std::uint16_t> ports[] = {
        {"0", 0}, {"-0", 0}, {"65535", 65535}, {"null", 8631}, {"9100.0", 9100}, {"9.1e3", 9100}};
    for (const auto& [port, expected] : ports) {
        EXPECT_EQ(decodeSettings(withMember(fmt::format("\"ippPort\": {}", port))),
                  office(expected));
    }
    for (const std::string_view port : {"65536", "70000", "-1", "8631.5", "1e-3", "1e99", "1e999",
                                        "18446744073709551617", "\"8631\"", "true", "[8631]"}) {
        EXPECT_FALSE(decodeSettings(withMember(fmt::format("\"ippPort\": {}", port)))) << port;
    }
}

TEST(SettingsDecoder, IsIPPEverywhereOnlyWhereThatIsSaid)
{
    for (const auto& [value, expected] :
         {std::pair{"true", true}, {"false", false}, {"null", false}}) {
        const auto settings =
            decodeSettings(withMember(fmt::format("\"ippEverywhere\": {}", value)));
        ASSERT_TRUE(settings) << value;
        EXPECT_EQ(settings->ippEverywhere, expected) << value;
    }
    for (const std::string_view value : {"1", "\"true\"", "{}"}) {
        EXPECT_FALSE(decodeSettings(withMember(fmt::format("\"ippEverywhere\": {}", value))))
            << value;
    }
}

TEST(SettingsDecoder, IgnoresWhatItDoesNotKnowAndTakesTheLastOfEqualMembers)
{
    for (const std::string& json :
         {fmt::format("{{{}}}", required), fmt::format("\xEF\xBB\xBF {{{}}}\n", required),
          withMember(R"("theme": {"printerName": 7, "more": [null]})"),
          withMember(R"("notesFolder": 1, "notesFolder": "Paper")"),
          withMember(
              fmt::format("\"x\": {}{}", std::string(200000, '['), std::string(200000, ']')))}) {
        EXPECT_EQ(decodeSettings(json), office()) << json.substr(0, 300);
    }
}

TEST(SettingsDecoder, GivesNothingForWhatIsNoObjectOfSettings)
{
    for (const std::string& json :
         {std::string(), std::string("null"), std::string("[]"), std::string("{}"),
          fmt::format("[{{{}}}]", required), fmt::format("{{{}", required),
          fmt::format("{{{}}} x", required), fmt::format("{{{},}}", required),
          std::string(500000, '['), withMember("\"printerName\": \"\xFF\"")}) {
        EXPECT_FALSE(decodeSettings(json)) << json.substr(0, 300);
    }
}

TEST(SettingsDecoder, GivesNothingWhenAMemberIsMissingOrOfTheWrongKind)
{
    for (const std::string_view member :
         {R"("printerName": null)", R"("printerName": 5)", R"("printerName": "\ud800")",
          R"("saveDirectoryPath": ["/srv"])", R"("saveDirectoryPath": null)",
          R"("notesEnabled": 1)", R"("notesEnabled": "true")", R"("notesFolder": false)"}) {
        EXPECT_FALSE(decodeSettings(withMember(member))) << member;
    }
    for (const std::string_view member :
         {"printerName", "saveDirectoryPath", "notesEnabled", "notesFolder"}) {
        std::string json = withMember("\"x\": 1");
        json[json.find(member)] = 'X';
        EXPECT_FALSE(decodeSettings(json)) << json;
    }
}

} // namespace korvane
