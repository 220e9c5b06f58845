#include "platform/system/HostName.h"
#include "platform/system/TimeText.h"
#include "platform/system/UUID.h"

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
    const std::tuple<const char*, system_clock::time_point, const char*> cases[] = {
        {"UTC0", time, "2025-03-01 184507"},
        {"IST-5:30", time, "2025-03-02 001507"},
        {"EST5", time, "2025-03-01 134507"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", sys_days(2025y / 7 / 1), "2025-07-01 020000"}};
    for (const auto& [zone, moment, expected] : cases) {
        ::setenv("TZ", zone, 1);
        EXPECT_EQ(localTimestamp(moment), expected) << zone;
        EXPECT_EQ(utcTimestamp(time), "2025-03-01T18:45:07") << zone;
    }
    EXPECT_EQ(utcTimestamp(sys_days(1970y / 1 / 1) - 1ms), "1969-12-31T23:59:59");
}

} // namespace korvane
