#include "platform/network/RouteSnapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <string_view>
#include <vector>

namespace korvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

void append(Bytes& bytes, const void* from, std::size_t size)
{
    const auto* first = static_cast<const std::uint8_t*>(from);
    bytes.insert(bytes.end(), first, first + size);
    bytes.resize((bytes.size() + 3) / 4 * 4);
}

Bytes attribute(std::uint16_t type, const void* value, std::size_t size)
{
    const rtattr header{static_cast<std::uint16_t>(sizeof(rtattr) + size), type};
    Bytes bytes;
    append(bytes, &header, sizeof header);
    append(bytes, value, size);
    return bytes;
}

Bytes attribute(std::uint16_t type, std::uint32_t value)
{
    return attribute(type, &value, sizeof value);
}

Bytes attribute(std::uint16_t type, std::string_view text)
{
    return attribute(type, text.data(), text.size());
}

template <typename Body>
Bytes message(std::uint16_t type, const Body& body, const std::vector<Bytes>& attributes = {})
{
    Bytes payload;
    append(payload, &body, sizeof body);
    for (const Bytes& each : attributes) append(payload, each.data(), each.size());
    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(sizeof header + payload.size());
    header.nlmsg_type = type;
    Bytes bytes;
    append(bytes, &header, sizeof header);
    append(bytes, payload.data(), payload.size());
    return bytes;
}

Bytes addressMessage(std::uint32_t index, std::uint8_t family, std::uint8_t scope,
                     std::uint32_t flags)
{
    ifaddrmsg body{};
    body.ifa_family = family;
    body.ifa_scope = scope;
    body.ifa_index = index;
    return message(RTM_NEWADDR, body, {attribute(IFA_FLAGS, flags)});
}

Bytes routeMessage(std::uint8_t prefixLength, const std::vector<Bytes>& attributes)
{
    rtmsg body{};
    body.rtm_family = AF_INET;
    body.rtm_dst_len = prefixLength;
    body.rtm_table = RT_TABLE_MAIN;
    body.rtm_type = RTN_UNICAST;
    return message(RTM_NEWROUTE, body, attributes);
}

TEST(RouteSnapshot, ReadsAContainersLink)
{
    ifinfomsg body{};
    body.ifi_index = 7;
    body.ifi_type = 1;
    body.ifi_flags = 0x11043;
    const Bytes kind = attribute(IFLA_INFO_KIND, std::string_view("veth", 5));
    RouteSnapshot snapshot;
    const Bytes bytes =
        message(RTM_NEWLINK, body,
                {attribute(IFLA_IFNAME, std::string_view("eth0", 5)), attribute(IFLA_LINK, 9U),
                 attribute(IFLA_LINK_NETNSID, 0U), attribute(IFLA_MASTER, 3U),
                 attribute(IFLA_LINKINFO | NLA_F_NESTED, kind.data(), kind.size())});
    EXPECT_EQ(addListing(bytes, snapshot), ListingProgress::more);
    const NetworkLink& link = snapshot.links.at(7);
    EXPECT_EQ(link.name, "eth0");
    EXPECT_EQ(link.kind, "veth");
    EXPECT_EQ(link.hardwareType, 1);
    EXPECT_EQ(link.flags, 0x11043U);
    EXPECT_EQ(link.master, 3U);
    EXPECT_EQ(link.lower, 9U);
    EXPECT_TRUE(link.isLowerElsewhere);

    for (std::size_t size = 0; size < bytes.size(); ++size) {
        RouteSnapshot cut;
        addListing(std::span(bytes).first(size), cut);
        EXPECT_TRUE(cut.links.empty());
    }
}

TEST(RouteSnapshot, CountsTheAddressesThatCanBeUsed)
{
    const struct {
        Bytes bytes;
        bool any, given;
    } cases[] = {
        {addressMessage(2, AF_INET, RT_SCOPE_UNIVERSE, IFA_F_PERMANENT), true, true},
        {addressMessage(2, AF_INET, RT_SCOPE_LINK, IFA_F_PERMANENT), true, true},
        {addressMessage(2, AF_INET6, RT_SCOPE_UNIVERSE, 0), true, true},
        {addressMessage(2, AF_INET6, RT_SCOPE_LINK, IFA_F_PERMANENT), true, false},
        {addressMessage(2, AF_INET6, RT_SCOPE_LINK, IFA_F_TENTATIVE), false, false},
        {addressMessage(2, AF_INET6, RT_SCOPE_LINK, IFA_F_TENTATIVE | IFA_F_OPTIMISTIC), true,
         false},
        {addressMessage(2, AF_INET6, RT_SCOPE_LINK, IFA_F_DADFAILED), false, false},
    };
    for (const auto& example : cases) {
        SCOPED_TRACE(&example - cases);
        RouteSnapshot snapshot;
        addListing(example.bytes, snapshot);
        EXPECT_EQ(snapshot.addresses[2].any, example.any);
        EXPECT_EQ(snapshot.addresses[2].given, example.given);
    }
}

TEST(RouteSnapshot, FindsTheDefaultRoutesOfTheMainTable)
{
    RouteSnapshot snapshot;
    addListing(routeMessage(0, {attribute(RTA_OIF, 2U), attribute(RTA_PRIORITY, 100U)}), snapshot);
    addListing(routeMessage(24, {attribute(RTA_OIF, 3U)}), snapshot);
    addListing(routeMessage(0, {attribute(RTA_TABLE, 51820U), attribute(RTA_OIF, 4U)}), snapshot);
    rtnexthop hops[2]{};
    hops[0].rtnh_len = hops[1].rtnh_len = sizeof hops[0];
    hops[0].rtnh_ifindex = 5;
    hops[1].rtnh_ifindex = 6;
    addListing(routeMessage(0, {attribute(RTA_MULTIPATH, hops, sizeof hops)}), snapshot);

    ASSERT_EQ(snapshot.defaultRoutes.size(), 3U);
    EXPECT_EQ(snapshot.defaultRoutes[0].interfaceIndex, 2U);
    EXPECT_EQ(snapshot.defaultRoutes[0].metric, 100U);
    EXPECT_EQ(snapshot.defaultRoutes[1].interfaceIndex, 5U);
    EXPECT_EQ(snapshot.defaultRoutes[2].interfaceIndex, 6U);
}

} // namespace
} // namespace korvane
