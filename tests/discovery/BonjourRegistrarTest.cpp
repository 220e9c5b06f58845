#include "discovery/BonjourRegistrar.h"

#include "support/FakeServiceDirectory.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

namespace korvane {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

class BonjourRegistrarTest : public testing::Test {
protected:
    static Registration service(const std::string& name, std::uint32_t interfaceIndex = 0)
    {
        return {.name = name,
                .type = "_ipp._tcp,_universal",
                .port = 8631,
                .txt = {},
                .interfaceIndex = interfaceIndex};
    }

    void registerService(const Registration& registration)
    {
        registrar.registerService(registration);
        queues.run();
    }

    ManualQueues queues;
    FakeServiceDirectory directory;
    RecordingLog log;
    BonjourRegistrar registrar{queues, &directory, log};
};

TEST_F(BonjourRegistrarTest, SaysWhatItRegistersAndUnderWhichNameItWasTaken)
{
    registerService(service("Office", 2));
    directory.answer(0, "Office (2)");
    registerService(service("Home"));
    directory.answer(0, std::nullopt);
    EXPECT_THAT(log.lines(),
                ElementsAre("BonjourRegistrar: registering \"Office\" (_ipp._tcp,_universal) on "
                            "port 8631, interface index 2",
                            "BonjourRegistrar: registered as \"Office (2)\"",
                            "BonjourRegistrar: registering \"Home\" (_ipp._tcp,_universal) on port "
                            "8631, all interfaces",
                            "BonjourRegistrar: registered as \"<unknown>\""));
    EXPECT_THAT(directory.live, ElementsAre("Home"));
}

TEST_F(BonjourRegistrarTest, WaitsTwiceAsLongAfterEachFailureUpToThirtySeconds)
{
    directory.refusals = {-65540, -65540, -65540, -65540, -65540, -65540, -65540};
    registerService(service("Office"));
    std::size_t tries = 1;
    for (const int delay : {1, 2, 4, 8, 16, 30, 30}) {
        queues.advance(seconds(delay) - std::chrono::milliseconds(1));
        EXPECT_EQ(directory.asked.size(), tries);
        queues.advance(std::chrono::milliseconds(1));
        EXPECT_EQ(directory.asked.size(), ++tries);
    }
    EXPECT_EQ(log.count("BonjourRegistrar: DNSServiceRegister failed: -65540; retrying in 30s"), 2);
    EXPECT_THAT(directory.live, ElementsAre("Office"));
}

TEST_F(BonjourRegistrarTest, StartsAgainAtOneSecondAfterASuccessAndForAnotherService)
{
    directory.refusals = {1, 1};
    registerService(service("Office"));
    queues.advance(seconds(3));
    directory.refusals = {1, 1};
    directory.answer(0, "Office");
    directory.answer(-65563, std::nullopt);
    EXPECT_EQ(log.count("BonjourRegistrar: registration lost (error -65563); re-registering in 1s"),
              1);
    EXPECT_THAT(directory.live, IsEmpty());
    queues.advance(seconds(1));
    registerService(service("Home"));
    queues.advance(seconds(1));
    EXPECT_EQ(log.lines().back(), "BonjourRegistrar: registering \"Home\" (_ipp._tcp,_universal) "
                                  "on port 8631, all interfaces");
    EXPECT_THAT(directory.live, ElementsAre("Home"));
}

TEST_F(BonjourRegistrarTest, StaysAwayOnceStopped)
{
    directory.refusals = {1};
    registerService(service("Office"));
    registrar.stop();
    queues.advance(seconds(60));
    EXPECT_EQ(directory.asked.size(), 1U);

    registerService(service("Office"));
    const auto late = directory.answer;
    registrar.stop();
    EXPECT_THAT(directory.live, IsEmpty());
    late(-65563, std::nullopt);
    queues.advance(seconds(60));
    EXPECT_THAT(directory.live, IsEmpty());
}

TEST_F(BonjourRegistrarTest, GivesUpANameThatCanNeverBeAdvertisedUntilThereIsAnother)
{
    directory.refusals = {ServiceDirectory::invalidName};
    registerService(service("\u0007"));
    queues.advance(seconds(60));
    EXPECT_EQ(directory.asked.size(), 1U);
    EXPECT_EQ(log.errors().size(), 1U);
    registerService(service("Home"));
    EXPECT_THAT(directory.live, ElementsAre("Home"));
}

TEST_F(BonjourRegistrarTest, SaysOnceThatThereIsNoDNSSD)
{
    BonjourRegistrar alone(queues, nullptr, log);
    alone.registerService(service("Office"));
    alone.registerService(service("Home"));
    queues.advance(seconds(60));
    EXPECT_THAT(log.errors(),
                ElementsAre("BonjourRegistrar: DNS-SD is not available, the printer is not "
                            "advertised"));
}

} // namespace
} // namespace korvane
