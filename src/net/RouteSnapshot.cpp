#include "net/RouteSnapshot.h"

#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

namespace korvane {

namespace {

using Bytes = std::span<const std::uint8_t>;

/** The record that the bytes begin with. */
template <typename Record>
std::optional<Record> recordAt(Bytes bytes)
{
    Record record{};
    if (bytes.size() < sizeof record) return std::nullopt;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

/** What follows a part of `length` bytes, which netlink pads to a multiple of four. */
Bytes after(Bytes bytes, std::size_t length)
{
    return bytes.subspan(std::min(bytes.size(), (length + 3) / 4 * 4));
}

/** Attributes and what nests in them: calls `visit` with the type and the payload of each. */
template <typename Visitor>
void forEachAttribute(Bytes bytes, const Visitor& visit)
{
    while (const auto header = recordAt<rtattr>(bytes)) {
        if (header->rta_len < sizeof(rtattr) || header->rta_len > bytes.size()) return;
        visit(header->rta_type & NLA_TYPE_MASK,
              bytes.first(header->rta_len).subspan(sizeof(rtattr)));
        bytes = after(bytes, header->rta_len);
    }
}

std::string textOf(Bytes bytes)
{
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0})};
}

std::uint32_t numberOf(Bytes bytes)
{
    return recordAt<std::uint32_t>(bytes).value_or(0);
}

std::string kindOf(Bytes linkInfo)
{
    std::string kind;
    forEachAttribute(linkInfo, [&kind](int type, Bytes value) {
        if (type == IFLA_INFO_KIND) kind = textOf(value);
    });
    return kind;
}

void addLink(Bytes body, RouteSnapshot& snapshot)
{
    const auto info = recordAt<ifinfomsg>(body);
    if (!info || info->ifi_index <= 0) return;
    NetworkLink link{.index = static_cast<std::uint32_t>(info->ifi_index),
                     .name = {},
                     .hardwareType = info->ifi_type,
                     .flags = info->ifi_flags,
                     .kind = {}};
    forEachAttribute(after(body, sizeof(ifinfomsg)), [&link](int type, Bytes value) {
        switch (type) {
        case IFLA_IFNAME: link.name = textOf(value); break;
        case IFLA_MASTER: link.master = numberOf(value); break;
        case IFLA_LINK: link.lower = numberOf(value); break;
        case IFLA_LINK_NETNSID: link.isLowerElsewhere = true; break;
        case IFLA_LINKINFO: link.kind = kindOf(value); break;
        default: break;
        }
    });
    snapshot.links[link.index] = link;
}

void addAddress(Bytes body, RouteSnapshot& snapshot)
{
    const auto info = recordAt<ifaddrmsg>(body);
    if (!info) return;
    std::uint32_t flags = info->ifa_flags;
    forEachAttribute(after(body, sizeof(ifaddrmsg)), [&flags](int type, Bytes value) {
        if (type == IFA_FLAGS) flags = numberOf(value);
    });
    // One that another host has stays tentative.
    if ((flags & IFA_F_TENTATIVE) != 0 && (flags & IFA_F_OPTIMISTIC) == 0) return;
    auto& addresses = snapshot.addresses[info->ifa_index];
    addresses.any = true;
    if (info->ifa_family == AF_INET || info->ifa_scope < RT_SCOPE_LINK) addresses.given = true;
}

void addHops(Bytes hops, DefaultRoute route, RouteSnapshot& snapshot)
{
    while (const auto hop = recordAt<rtnexthop>(hops)) {
        if (hop->rtnh_len < sizeof(rtnexthop)) return;
        route.interfaceIndex = static_cast<std::uint32_t>(hop->rtnh_ifindex);
        snapshot.defaultRoutes.push_back(route);
        hops = after(hops, hop->rtnh_len);
    }
}

void addRoute(Bytes body, RouteSnapshot& snapshot)
{
    const auto info = recordAt<rtmsg>(body);
    if (!info || info->rtm_dst_len != 0 || info->rtm_type != RTN_UNICAST) return;
    DefaultRoute route{.isIPv6 = info->rtm_family == AF_INET6};
    std::uint32_t table = info->rtm_table;
    Bytes hops;
    forEachAttribute(after(body, sizeof(rtmsg)), [&](int type, Bytes value) {
        switch (type) {
        case RTA_TABLE: table = numberOf(value); break;
        case RTA_PRIORITY: route.metric = numberOf(value); break;
        case RTA_OIF: route.interfaceIndex = numberOf(value); break;
        case RTA_MULTIPATH: hops = value; break;
        default: break;
        }
    });
    if (table != RT_TABLE_MAIN) return;
    if (route.interfaceIndex != 0) snapshot.defaultRoutes.push_back(route);
    addHops(hops, route, snapshot);
}

} // namespace

ListingProgress addListing(std::span<const std::uint8_t> datagram, RouteSnapshot& snapshot)
{
    while (const auto header = recordAt<nlmsghdr>(datagram)) {
        if (header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > datagram.size()) {
            return ListingProgress::failed;
        }
        const Bytes body = datagram.first(header->nlmsg_len).subspan(sizeof(nlmsghdr));
        switch (header->nlmsg_type) {
        case NLMSG_DONE: return ListingProgress::done;
        case NLMSG_ERROR: return ListingProgress::failed;
        case RTM_NEWLINK: addLink(body, snapshot); break;
        case RTM_NEWADDR: addAddress(body, snapshot); break;
        case RTM_NEWROUTE: addRoute(body, snapshot); break;
        default: break;
        }
        datagram = after(datagram, header->nlmsg_len);
    }
    return ListingProgress::more;
}

} // namespace korvane
