#include "net/RouteSnapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

/** What the kernel listed once, see recorded/record: all datagrams of it, one after the other. */
std::vector<std::uint8_t> recorded(const std::string& listing)
{
    std::ifstream file(std::filesystem::path(RECORDED_LISTINGS) / listing, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class RouteSnapshotTest : public testing::Test {
protected:
    RouteSnapshotTest()
    {
        for (const char* listing : {"links", "addresses", "routes"}) {
            EXPECT_EQ(addListing(recorded(listing), snapshot), ListingProgress::done) << listing;
        }
        for (const auto& [index, link] : snapshot.links) names[index] = link.name;
    }

    const NetworkLink& link(const std::string& name) const
    {
        for (const auto& [index, link] : snapshot.links) {
            if (link.name == name) return link;
        }
        throw std::out_of_range(name);
    }

    RouteSnapshot snapshot;
    std::map<std::uint32_t, std::string> names;
};

TEST_F(RouteSnapshotTest, HoldsEveryLinkAndWhatItStandsOn)
{
    EXPECT_THAT(names, ElementsAre(Pair(1, "lo"), Pair(2, "eth0"), Pair(3, "eth1"), Pair(4, "br0"),
                                   Pair(5, "end"), Pair(6, "port"), Pair(7, "mac0")));
    const struct {
        const char* name;
        const char* kind;
        std::uint16_t hardwareType;
        std::uint32_t flags, master, lower;
        bool isLowerElsewhere;
    } links[] = {{"lo", "", 772, 0x10049, 0, 0, false},
                 {"eth0", "veth", 1, 0x11043, 0, 2, true},
                 {"br0", "bridge", 1, 0x11043, 0, 0, false},
                 {"port", "veth", 1, 0x11043, 4, 5, false},
                 {"mac0", "macvlan", 1, 0x11043, 0, 2, false}};
    for (const auto& expected : links) {
        SCOPED_TRACE(expected.name);
        const NetworkLink& found = link(expected.name);
        EXPECT_EQ(found.kind, expected.kind);
        EXPECT_EQ(found.hardwareType, expected.hardwareType);
        EXPECT_EQ(found.flags, expected.flags);
        EXPECT_EQ(found.master, expected.master);
        EXPECT_EQ(found.lower, expected.lower);
        EXPECT_EQ(found.isLowerElsewhere, expected.isLowerElsewhere);
    }
}

TEST_F(RouteSnapshotTest, CountsTheAddressesThatCanBeUsed)
{
    std::map<std::string, std::pair<bool, bool>> usable;
    for (const auto& [index, addresses] : snapshot.addresses)
        usable[names[index]] = {addresses.any, addresses.given};
    // An address that another host has, and one that may be another's still, are none; one that may
    // be used while it is probed is.
    EXPECT_THAT(usable,
                UnorderedElementsAre(Pair("lo", Pair(true, true)), Pair("eth0", Pair(true, true)),
                                     Pair("end", Pair(true, false)), Pair("port", Pair(true, true)),
                                     Pair("mac0", Pair(true, false))));
}

TEST_F(RouteSnapshotTest, FindsTheDefaultRoutesOfTheMainTable)
{
    std::vector<std::string> routes;
    for (const auto& [isIPv6, metric, index] : snapshot.defaultRoutes)
        routes.push_back((isIPv6 ? "6 " : "4 ") + names[index] + " " + std::to_string(metric));
    EXPECT_THAT(routes, ElementsAre("4 eth0 100", "4 eth0 200", "4 port 200", "6 eth0 1024"));
}

TEST(RouteSnapshot, TakesNothingFromAMessageThatIsCutOff)
{
    const auto links = recorded("links");
    std::size_t first = 0;
    std::memcpy(&first, links.data(), sizeof(std::uint32_t));
    for (std::size_t size = 0; size < first; ++size) {
        RouteSnapshot cut;
        addListing(std::span(links).first(size), cut);
        EXPECT_TRUE(cut.links.empty());
    }
}

} // namespace
} // namespace korvane
