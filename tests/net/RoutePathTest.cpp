#include "net/RoutePath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <net/if_arp.h>

#include <functional>
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

    using Change = std::function<void(NetworkLink&)>;
    const auto over = [](std::uint32_t lower, bool isElsewhere = false) -> Change {
        return [=](NetworkLink& link) { link.lower = lower, link.isLowerElsewhere = isElsewhere; };
    };
    const struct {
        const char* what;
        const char* name;
        const char* kind;
        InterfaceType type;
        LinkAddresses addresses = givenAddress;
        Change change = {};
    } cases[] = {
        {"a card", "en1", "", InterfaceType::wiredEthernet},
        {"a cable to nowhere", "en1", "", InterfaceType::other, ownAddress},
        {"a wireless card", "wl1", "", InterfaceType::wifi},
        {"a bridge", "x", "bridge", InterfaceType::other},
        {"a tap", "x", "tun", InterfaceType::other},
        {"a dummy", "x", "dummy", InterfaceType::other},
        {"a container's only cable", "x", "veth", InterfaceType::wiredEthernet},
        {"a cable without an address", "x", "veth", InterfaceType::other, ownAddress},
        {"a bond with a wired port", "x", "bond", InterfaceType::wiredEthernet},
        {"a bond without ports", "x", "bond", InterfaceType::other, givenAddress,
         [](NetworkLink& link) { link.index = 21; }},
        {"loopback", "lo", "", InterfaceType::loopback, givenAddress,
         [](NetworkLink& link) { link.flags |= IFF_LOOPBACK; }},
        {"a tunnel", "tun0", "", InterfaceType::other, givenAddress,
         [](NetworkLink& link) { link.hardwareType = ARPHRD_NONE; }},
        {"a modem", "wwan0", "", InterfaceType::other, givenAddress,
         [](NetworkLink& link) { link.flags |= IFF_NOARP; }},
        {"a port of another", "en1", "", InterfaceType::other, givenAddress,
         [](NetworkLink& link) { link.master = 30; }},
        {"over a card", "en.7", "vlan", InterfaceType::wiredEthernet, givenAddress, over(2)},
        {"over a wireless card", "en.7", "vlan", InterfaceType::wifi, givenAddress, over(3)},
        {"over itself", "en.7", "vlan", InterfaceType::other, givenAddress, over(20)},
        {"over the host's", "x", "macvlan", InterfaceType::wiredEthernet, givenAddress,
         over(3, true)},
    };
    for (const auto& example : cases) {
        SCOPED_TRACE(example.what);
        NetworkLink link = device(20, example.name, example.kind);
        if (example.change) example.change(link);
        RouteSnapshot snapshot = base;
        add(snapshot, link, example.addresses);
        const auto path = pathOf(snapshot, driverType);
        ASSERT_EQ(path.availableInterfaces.size(), 1U);
        EXPECT_EQ(path.availableInterfaces[0].type, example.type);
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
