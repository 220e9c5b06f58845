#include "config/SettingsDecoder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

namespace korvane {

namespace {

constexpr std::string_view required = R"("printerName": "Office", "saveDirectoryPath": "/srv/scans",
    "notesEnabled": true, "notesFolder": "Paper")";

AppSettings office(std::uint16_t port)
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
    struct Case {
        std::string_view port;
        std::optional<std::uint16_t> expected;
    };
    for (const Case& c : {
             Case{"0", 0},
             Case{"-0", 0},
             Case{"65535", 65535},
             Case{"null", 8631},
             Case{"9100.0", 9100},
             Case{"9.1e3", 9100},
             Case{"65536", std::nullopt},
             Case{"70000", std::nullopt},
             Case{"-1", std::nullopt},
             Case{"8631.5", std::nullopt},
             Case{"1e-3", std::nullopt},
             Case{"1e99", std::nullopt},
             Case{"1e999", std::nullopt},
             Case{"18446744073709551617", std::nullopt},
             Case{"\"8631\"", std::nullopt},
             Case{"true", std::nullopt},
             Case{"[8631]", std::nullopt},
         }) {
        SCOPED_TRACE(c.port);
        const auto expected = c.expected ? std::optional(office(*c.expected)) : std::nullopt;
        EXPECT_EQ(decodeSettings(withMember(fmt::format("\"ippPort\": {}", c.port))), expected);
    }
}

TEST(SettingsDecoder, IgnoresWhatItDoesNotKnowAndTakesTheLastOfEqualMembers)
{
    for (const std::string& json : {
             fmt::format("{{{}}}", required),
             fmt::format("\xEF\xBB\xBF {{{}}}\n", required),
             withMember(R"("theme": {"printerName": 7, "more": [null]})"),
             withMember(R"("notesFolder": 1, "notesFolder": "Paper")"),
             withMember(
                 fmt::format("\"x\": {}{}", std::string(200000, '['), std::string(200000, ']'))),
         }) {
        SCOPED_TRACE(json.substr(0, 300));
        EXPECT_EQ(decodeSettings(json), office(8631));
    }
}

TEST(SettingsDecoder, GivesNothingWhenAnyOneRuleIsBroken)
{
    for (const std::string& json : {
             std::string(),
             std::string("null"),
             std::string("[]"),
             std::string("{}"),
             fmt::format("[{{{}}}]", required),
             fmt::format("{{{}", required),
             fmt::format("{{{}}} x", required),
             fmt::format("{{{},}}", required),
             std::string(500000, '['),
             withMember(R"("printerName": null)"),
             withMember(R"("printerName": 5)"),
             withMember("\"printerName\": \"\xFF\""),
             withMember(R"("printerName": "\ud800")"),
             withMember(R"("saveDirectoryPath": ["/srv"])"),
             withMember(R"("saveDirectoryPath": null)"),
             withMember(R"("notesEnabled": 1)"),
             withMember(R"("notesEnabled": "true")"),
             withMember(R"("notesFolder": false)"),
             std::string(
                 R"({"saveDirectoryPath": "/s", "notesEnabled": true, "notesFolder": "n"})"),
             std::string(R"({"printerName": "p", "notesEnabled": true, "notesFolder": "n"})"),
             std::string(R"({"printerName": "p", "saveDirectoryPath": "/s", "notesFolder": "n"})"),
             std::string(
                 R"({"printerName": "p", "saveDirectoryPath": "/s", "notesEnabled": true})"),
             std::string(R"({"PrinterName": "p", "saveDirectoryPath": "/s", "notesEnabled": true,
                             "notesFolder": "n"})"),
         }) {
        EXPECT_FALSE(decodeSettings(json)) << json.substr(0, 300);
    }
}

} // namespace korvane
