#include "base/HostName.h"
#include "base/TimeText.h"
#include "base/UUID.h"
#include "base/User.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace korvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using std::chrono::system_clock;

} // namespace

TEST(UUID, IsRandomAndInCanonicalForm)
{
    const std::string uuid = makeRandomUUID();
    EXPECT_THAT(uuid, testing::MatchesRegex(
                          "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_NE(makeRandomUUID(), uuid);
}

TEST(HostName, IsTheFirstLabelIfThereIsOne)
{
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"office", "office"},
        {"office.example.org", "office"},
        {"", {}},
        {".example", {}},
        {"(none)", {}}};
    for (const auto& [name, label] : cases) EXPECT_EQ(firstHostLabel(name), label);
}

TEST(TimeText, FollowsTheLocalZoneWhereTheUserTravels)
{
    const system_clock::time_point time = sys_days(2025y / 3 / 1) + 18h + 45min + 7s + 999ms;
    const std::tuple<const char*, system_clock::time_point, const char*, const char*> cases[] = {
        {"UTC0", time, "2025-03-01 184507", "D:20250301184507+00'00"},
        {"IST-5:30", time, "2025-03-02 001507", "D:20250302001507+05'30"},
        {"NST3:30", time, "2025-03-01 151507", "D:20250301151507-03'30"},
        {"EST5", time, "2025-03-01 134507", "D:20250301134507-05'00"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", sys_days(2025y / 7 / 1), "2025-07-01 020000",
         "D:20250701020000+02'00"}};
    for (const auto& [zone, moment, expected, dated] : cases) {
        ::setenv("TZ", zone, 1);
        EXPECT_EQ(localTimestamp(moment), expected) << zone;
        EXPECT_EQ(utcTimestamp(time), "2025-03-01T18:45:07") << zone;
        EXPECT_EQ(pdfTimestamp(moment), dated) << zone;
    }
    EXPECT_EQ(utcTimestamp(sys_days(1970y / 1 / 1) - 1ms), "1969-12-31T23:59:59");
}

TEST(UserLocales, FollowTheEnvironment)
{
    using Locales = std::vector<std::string>;
    const std::pair<LocaleVariables, Locales> cases[] = {
        {{}, {}},
        {{.lang = "de_AT.UTF-8"}, {"de_AT.UTF-8"}},
        {{.messages = "fr_FR", .lang = "de_AT"}, {"fr_FR"}},
        {{.all = "nb_NO", .messages = "fr_FR", .lang = "de_AT"}, {"nb_NO"}},
        {{.language = "de:en::de_AT", .lang = "de_AT"}, {"de", "en", "de_AT"}},
        {{.language = "de", .lang = "sr_RS@latin"}, {"de", "sr_RS@latin"}},
        {{.language = "de", .lang = "C.UTF-8"}, {}},
        {{.language = "de", .all = "POSIX", .lang = "de_AT"}, {}},
        {{.language = "de"}, {}}};
    for (const auto& [variables, locales] : cases)
        EXPECT_EQ(makeUserLocales(variables), locales) << variables.language << variables.lang;
}

} // namespace korvane
