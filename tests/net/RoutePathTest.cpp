#include "net/RoutePath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <net/if_arp.h>

#include <string>
#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t running = IFF_UP | IFF_RUNNING | IFF_BROADCAST | IFF_MULTICAST;
constexpr LinkAddresses givenAddress{.any = true, .given = true};
constexpr LinkAddresses ownAddress{.any = true, .given = false};

NetworkLink device(std::uint32_t index, const std::string& name, const std::string& kind = {})
{
    return {
        .index = index, .name = name, .hardwareType = ARPHRD_ETHER, .flags = running, .kind = kind};
}

void add(RouteSnapshot& snapshot, const NetworkLink& link,
         const LinkAddresses& addresses = givenAddress)
{
    snapshot.links[link.index] = link;
    snapshot.addresses[link.index] = addresses;
}

InterfaceType driverType(const std::string& name)
{
    return name.starts_with("wl") ? InterfaceType::wifi : InterfaceType::wiredEthernet;
}

std::vector<std::string> names(const RouteSnapshot& snapshot)
{
    std::vector<std::string> result;
    for (const auto& interface : pathOf(snapshot, driverType).availableInterfaces) {
        result.push_back(interface.name);
    }
    return result;
}

TEST(RoutePath, PrefersTheSmallestMetricAndIPv4ToIPv6)
{
    RouteSnapshot snapshot;
    for (const char* name : {"plain", "slow", "fast", "six-slow", "six-fast", "both"}) {
        add(snapshot, device(static_cast<std::uint32_t>(snapshot.links.size() + 2), name));
    }
    snapshot.defaultRoutes = {{.metric = 600, .interfaceIndex = 3},
                              {.metric = 900, .interfaceIndex = 4},
                              {.metric = 100, .interfaceIndex = 4},
                              {.isIPv6 = true, .metric = 1024, .interfaceIndex = 5},
                              {.isIPv6 = true, .metric = 50, .interfaceIndex = 6},
                              {.metric = 600, .interfaceIndex = 7},
                              {.isIPv6 = true, .metric = 600, .interfaceIndex = 7}};
    EXPECT_THAT(names(snapshot),
                ElementsAre("fast", "both", "slow", "six-fast", "six-slow", "plain"));
}

TEST(RoutePath, LeavesOutWhatIsDownUnpluggedOrWithoutAnAddress)
{
    RouteSnapshot snapshot;
    NetworkLink down = device(2, "down");
    down.flags = IFF_RUNNING;
    add(snapshot, down);
    NetworkLink unplugged = device(3, "unplugged");
    unplugged.flags = IFF_UP;
    add(snapshot, unplugged);
    add(snapshot, device(4, "bare"), {});
    snapshot.links[5] = device(5, "unknown");
    EXPECT_THAT(names(snapshot), IsEmpty());
}

TEST(RoutePath, TellsWiredInterfacesFromOthers)
{
    RouteSnapshot base;
    add(base, device(2, "en"), {});
    add(base, device(3, "wl"), {});
    NetworkLink port = device(4, "port");
    port.master = 20;
    add(base, port, {});

    const struct {
        const char* what;
        NetworkLink link;
        LinkAddresses addresses;
        InterfaceType type;
    } cases[] = {
        {"a card", device(20, "en1"), givenAddress, InterfaceType::wiredEthernet},
        {"a cable to nowhere", device(20, "en1"), ownAddress, InterfaceType::other},
        {"a wireless card", device(20, "wl1"), givenAddress, InterfaceType::wifi},
        {"a bridge", device(20, "x", "bridge"), givenAddress, InterfaceType::other},
        {"a tap", device(20, "x", "tun"), givenAddress, InterfaceType::other},
        {"a dummy", device(20, "x", "dummy"), givenAddress, InterfaceType::other},
        {"a container's only cable", device(20, "x", "veth"), givenAddress,
         InterfaceType::wiredEthernet},
        {"a cable without an address", device(20, "x", "veth"), ownAddress, InterfaceType::other},
        {"a bond with a wired port", device(20, "x", "bond"), givenAddress,
         InterfaceType::wiredEthernet},
        {"a bond without ports", device(21, "x", "bond"), givenAddress, InterfaceType::other},
    };
    for (const auto& example : cases) {
        SCOPED_TRACE(example.what);
        RouteSnapshot snapshot = base;
        add(snapshot, example.link, example.addresses);
        const auto path = pathOf(snapshot, driverType);
        ASSERT_EQ(path.availableInterfaces.size(), 1U);
        EXPECT_EQ(path.availableInterfaces[0].type, example.type);
    }

    NetworkLink loopback = device(1, "lo");
    loopback.flags |= IFF_LOOPBACK;
    NetworkLink tunnel = device(20, "tun0");
    tunnel.hardwareType = ARPHRD_NONE;
    NetworkLink modem = device(20, "wwan0");
    modem.flags |= IFF_NOARP;
    NetworkLink enslaved = device(20, "en1");
    enslaved.master = 30;
    NetworkLink overCard = device(20, "en.7", "vlan");
    overCard.lower = 2;
    NetworkLink overWireless = overCard;
    overWireless.lower = 3;
    NetworkLink overItself = overCard;
    overItself.lower = 20;
    NetworkLink ofTheHost = device(20, "x", "macvlan");
    ofTheHost.lower = 3;
    ofTheHost.isLowerElsewhere = true;
    const std::pair<NetworkLink, InterfaceType> others[] = {
        {loopback, InterfaceType::loopback},
        {tunnel, InterfaceType::other},
        {modem, InterfaceType::other},
        {enslaved, InterfaceType::other},
        {overCard, InterfaceType::wiredEthernet},
        {overWireless, InterfaceType::wifi},
        {overItself, InterfaceType::other},
        {ofTheHost, InterfaceType::wiredEthernet},
    };
    for (const auto& [link, type] : others) {
        SCOPED_TRACE(link.name);
        RouteSnapshot snapshot = base;
        add(snapshot, link);
        const auto path = pathOf(snapshot, driverType);
        ASSERT_EQ(path.availableInterfaces.size(), 1U);
        EXPECT_EQ(path.availableInterfaces[0].type, type);
    }
}

TEST(RoutePath, TakesAContainersCableForWiredWhereTheDefaultRouteLeads)
{
    RouteSnapshot snapshot;
    add(snapshot, device(2, "wl"));
    add(snapshot, device(3, "cable", "veth"));
    snapshot.defaultRoutes = {{.metric = 600, .interfaceIndex = 2}};
    const auto host = pathOf(snapshot, driverType).availableInterfaces;
    EXPECT_EQ(host.at(1).type, InterfaceType::other);

    snapshot.defaultRoutes = {{.isIPv6 = true, .metric = 600, .interfaceIndex = 3}};
    const auto container = pathOf(snapshot, driverType).availableInterfaces;
    EXPECT_EQ(container.at(0).type, InterfaceType::wiredEthernet);
}

} // namespace
} // namespace korvane
