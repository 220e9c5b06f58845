#include "discovery/AdvertisingInterfaceMonitor.h"

#include "discovery/TXTRecord.h"
#include "support/FakeNetworkPaths.h"
#include "support/ManualQueues.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class AdvertisingInterfaceMonitorTest : public testing::Test {
protected:
    AdvertisingInterfaceMonitorTest()
    {
        monitor.onChange = [this](const auto& choice) { changes.push_back(choice.description()); };
        monitor.start(queues.main());
    }

    ManualQueues queues;
    FakeNetworkPaths paths;
    RecordingLog log;
    AdvertisingInterfaceMonitor monitor{&paths, log};
    std::vector<std::string> changes;
};

TEST_F(AdvertisingInterfaceMonitorTest, TakesTheFirstWiredInterfaceAtOnce)
{
    paths.update({{wifi, secondEthernet, ethernet}});
    EXPECT_THAT(changes, ElementsAre("wired interface eth1 (index 5)"));
    EXPECT_THAT(log.lines(), ElementsAre("AdvertisingInterfaceMonitor: initial choice: wired "
                                         "interface eth1 (index 5)"));
}

TEST_F(AdvertisingInterfaceMonitorTest, KeepsToAllInterfacesWithoutAWiredOne)
{
    paths.update({{wifi}});
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_EQ(monitor.current().interfaceIndex, 0U);
    EXPECT_EQ(log.count("AdvertisingInterfaceMonitor: initial choice: all interfaces"), 1);
}

TEST_F(AdvertisingInterfaceMonitorTest, IgnoresACableThatIsBackWithinTwoSeconds)
{
    paths.update({{ethernet}});
    paths.update({{wifi}});
    queues.advance(milliseconds(1900));
    paths.update({{ethernet}});
    queues.advance(milliseconds(5000));
    EXPECT_EQ(changes.size(), 1U);
}

TEST_F(AdvertisingInterfaceMonitorTest, FollowsAChangeThatHasHeldForTwoSeconds)
{
    paths.update({{ethernet}});
    paths.update({{wifi}});
    queues.advance(milliseconds(1900));
    paths.update({{secondEthernet}});
    queues.advance(milliseconds(1900));
    EXPECT_EQ(changes.size(), 1U);
    queues.advance(milliseconds(100));
    EXPECT_THAT(changes,
                ElementsAre("wired interface eth0 (index 2)", "wired interface eth1 (index 5)"));
    EXPECT_EQ(log.lines().back(), "AdvertisingInterfaceMonitor: advertising on wired interface "
                                  "eth1 (index 5) (was wired interface eth0 (index 2))");
}

TEST_F(AdvertisingInterfaceMonitorTest, DropsAWaitingChangeWhenStopped)
{
    paths.update({{ethernet}});
    paths.update({{wifi}});
    monitor.stop();
    queues.advance(milliseconds(5000));
    EXPECT_EQ(monitor.current().interfaceIndex, 2U);
    EXPECT_FALSE(paths.update);

    monitor.start(queues.main());
    paths.update({{wifi}});
    EXPECT_EQ(monitor.current().interfaceIndex, 0U);
}

TEST(TXTRecord, HoldsTwentyThreePairsWithThePrintersOwnNames)
{
    const auto txt = makeTXTRecord({.name = "Office",
                                    .uri = "ipp://desk.local.:8631/ipp/print",
                                    .uuid = "0a0b",
                                    .location = "desk"});
    EXPECT_EQ(txt.size(), 23U);
    EXPECT_EQ(txt.at("ty"), "Office");
    EXPECT_EQ(txt.at("pdl"), "application/pdf,image/urf");
    EXPECT_EQ(txt.at("URF"), "SRGB24,W8,RS300,DM1,V1.4");
    EXPECT_EQ(txt.at("note"), "desk");
    EXPECT_EQ(txt.at("UUID"), "0a0b");
    EXPECT_EQ(txt.at("product"), "(Korvane Virtual Printer)");
}

TEST(TXTRecord, OfIPPEverywhereTellsWhatClientsNeedAndTheirRegistrationKeeps)
{
    const auto txt = makeTXTRecord({.name = std::string(300, 'n'),
                                    .uri = "ipp://desk.local.:8631/ipp/print",
                                    .uuid = "0a0b",
                                    .location = std::string(300, 'l'),
                                    .profile = PrinterProfile::ippEverywhere});
    // CUPS takes a record with printer-type for a queue that another CUPS server shares.
    for (const char* absent : {"printer-type", "printer-state"}) EXPECT_FALSE(txt.contains(absent));
    for (const char* required : {"rp", "ty", "note", "pdl", "UUID", "URF", "adminurl"})
        EXPECT_TRUE(txt.contains(required)) << required;
    EXPECT_EQ(txt.at("adminurl"), "http://desk.local.:8631/");
    for (const auto& [key, value] : txt) EXPECT_LT(key.size() + value.size() + 1, 256U) << key;
}

} // namespace
} // namespace korvane
