#include "platform/system/HostName.h"
#include "platform/system/TimeText.h"
#include "platform/system/UUID.h"
#include "platform/system/UserAccount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <set>

namespace korvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using std::chrono::system_clock;

/** Sets the time zone for a test, in the notation that needs no zone files. */
class TimeZone {
public:
    explicit TimeZone(const char* zone) { ::setenv("TZ", zone, 1); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone()
    {
        ::unsetenv("TZ");
        ::tzset();
    }
};

} // namespace

TEST(UUID, IsRandomAndInCanonicalForm)
{
    constexpr const char* canonical =
        "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}";
    std::set<std::string> seen;
    for (int count = 0; count < 200; ++count) {
        const std::string uuid = makeRandomUUID();
        EXPECT_THAT(uuid, testing::MatchesRegex(canonical));
        EXPECT_TRUE(seen.insert(uuid).second) << uuid;
    }
}

TEST(HostName, IsTheFirstLabelIfThereIsOne)
{
    struct Case {
        std::string_view name;
        std::optional<std::string> expected;
    };
    for (const Case& c :
         {Case{"office", "office"}, Case{"office.example.org", "office"}, Case{"", std::nullopt},
          Case{".example", std::nullopt}, Case{"(none)", std::nullopt}}) {
        EXPECT_EQ(firstHostLabel(c.name), c.expected);
    }
    EXPECT_EQ(hostName().value_or("").find('.'), std::string::npos);
}

TEST(UserAccount, IsThatOfTheRealUser)
{
    const passwd* entry = ::getpwuid(::getuid());
    const std::string expected = entry == nullptr ? std::to_string(::getuid()) : entry->pw_name;
    EXPECT_EQ(currentUserAccount().loginName, expected);
}

TEST(TimeText, FollowsTheLocalZoneWhereTheUserTravels)
{
    const system_clock::time_point time = sys_days(2025y / 3 / 1) + 18h + 45min + 7s + 999ms;
    struct Case {
        const char* zone;
        system_clock::time_point time;
        std::string_view expected;
    };
    for (const Case& c : {
             Case{"UTC0", time, "2025-03-01 184507"},
             Case{"IST-5:30", time, "2025-03-02 001507"},
             Case{"EST5", time, "2025-03-01 134507"},
             Case{"CET-1CEST,M3.5.0,M10.5.0/3", sys_days(2025y / 7 / 1), "2025-07-01 020000"},
         }) {
        const TimeZone zone(c.zone);
        EXPECT_EQ(localTimestamp(c.time), c.expected) << c.zone;
    }
}

TEST(TimeText, KnowsUniversalTimeInAnyZone)
{
    const TimeZone zone("IST-5:30");
    EXPECT_EQ(utcTimestamp(sys_days(2025y / 3 / 1) + 14h + 5min + 9s + 1ms), "2025-03-01T14:05:09");
    EXPECT_EQ(utcTimestamp(sys_days(1970y / 1 / 1) - 1ms), "1969-12-31T23:59:59");
    EXPECT_EQ(utcTimestamp(sys_days(2024y / 2 / 29)), "2024-02-29T00:00:00");
}

} // namespace korvane
