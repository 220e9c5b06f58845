#include "platform/system/HostName.h"
#include "platform/system/TimeText.h"
#include "platform/system/UUID.h"
#include "platform/system/UserAccount.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <set>

namespace korvane {

namespace {

using std::chrono::milliseconds;
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

system_clock::time_point utc(int year, unsigned month, unsigned day, int hour, int minute,
                             int second)
{
    return sys_days(std::chrono::year(year) / static_cast<int>(month) / static_cast<int>(day)) +
           std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
}

} // namespace

TEST(UUID, IsRandomAndInCanonicalForm)
{
    const std::regex canonical(
        "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int count = 0; count < 200; ++count) {
        const std::string uuid = makeRandomUUID();
        EXPECT_TRUE(std::regex_match(uuid, canonical)) << uuid;
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
    const system_clock::time_point time = utc(2025, 3, 1, 18, 45, 7) + milliseconds(999);
    struct Case {
        const char* zone;
        system_clock::time_point time;
        std::string_view expected;
    };
    for (const Case& c : {
             Case{"UTC0", time, "2025-03-01 184507"},
             Case{"IST-5:30", time, "2025-03-02 001507"},
             Case{"EST5", time, "2025-03-01 134507"},
             Case{"CET-1CEST,M3.5.0,M10.5.0/3", utc(2025, 7, 1, 0, 0, 0), "2025-07-01 020000"},
         }) {
        const TimeZone zone(c.zone);
        EXPECT_EQ(localTimestamp(c.time), c.expected) << c.zone;
    }
}

TEST(TimeText, KnowsUniversalTimeInAnyZone)
{
    const TimeZone zone("IST-5:30");
    EXPECT_EQ(utcTimestamp(utc(2025, 3, 1, 14, 5, 9) + milliseconds(1)), "2025-03-01T14:05:09");
    EXPECT_EQ(utcTimestamp(utc(1970, 1, 1, 0, 0, 0) - milliseconds(1)), "1969-12-31T23:59:59");
    EXPECT_EQ(utcTimestamp(utc(2024, 2, 29, 0, 0, 0)), "2024-02-29T00:00:00");
}

} // namespace korvane
