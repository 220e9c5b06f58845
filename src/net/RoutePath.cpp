#include "net/RoutePath.h"

#include <net/if.h>
#include <net/if_arp.h>

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

/** Devices stand on others a few deep; a listing that changes while it is read might form a ring.
 */
constexpr int maxDepth = 8;

bool isOneOf(const std::string& kind, std::initializer_list<const char*> kinds)
{
    return std::ranges::find(kinds, kind) != kinds.end();
}

/** Judges the devices of one moment. */
class LinkJudge {
public:
    LinkJudge(const RouteSnapshot& snapshot, const DeviceTypes& deviceTypes)
        : snapshot_(snapshot), deviceTypes_(deviceTypes)
    {
    }

    bool isUsable(const NetworkLink& link) const
    {
        return isRunning(link) && addressesOf(link).any;
    }

    InterfaceType typeOf(const NetworkLink& link) const
    {
        if (link.master != 0) return InterfaceType::other;
        const InterfaceType type = ownTypeOf(link, maxDepth);
        // A cable to a box that gives no address is no reason to leave the wireless network.
        const bool isCableToNowhere =
            type == InterfaceType::wiredEthernet && !addressesOf(link).given;
        return isCableToNowhere ? InterfaceType::other : type;
    }

private:
    static bool isRunning(const NetworkLink& link)
    {
        return (link.flags & IFF_UP) != 0 && (link.flags & IFF_RUNNING) != 0;
    }

    LinkAddresses addressesOf(const NetworkLink& link) const
    {
        const auto found = snapshot_.addresses.find(link.index);
        return found == snapshot_.addresses.end() ? LinkAddresses{} : found->second;
    }

    /** The device's type whatever it is a port of. */
    InterfaceType ownTypeOf(const NetworkLink& link, int depth) const
    {
        if ((link.flags & IFF_LOOPBACK) != 0) return InterfaceType::loopback;
        const bool isEthernet =
            link.hardwareType == ARPHRD_ETHER && (link.flags & (IFF_POINTOPOINT | IFF_NOARP)) == 0;
        if (!isEthernet || depth == 0) return InterfaceType::other;
        if (link.kind.empty()) return deviceTypes_(link.name);
        if (link.kind == "veth")
            return isWayOut(link) ? InterfaceType::wiredEthernet : InterfaceType::other;
        if (isOneOf(link.kind, {"vlan", "macvlan", "ipvlan"})) return lowerTypeOf(link, depth - 1);
        if (isOneOf(link.kind, {"bond", "team"})) return typeOfPorts(link, depth - 1);
        return InterfaceType::other;
    }

    /** One end of a cable between containers is a container's network if its default route leads
     *  there or it has nothing else; the other end, on the host, is not. */
    bool isWayOut(const NetworkLink& link) const
    {
        const bool hasRoute =
            std::ranges::any_of(snapshot_.defaultRoutes, [&link](const DefaultRoute& route) {
                return route.interfaceIndex == link.index;
            });
        return hasRoute || std::ranges::none_of(snapshot_.links, [&](const auto& entry) {
                   const NetworkLink& other = entry.second;
                   return other.index != link.index && (other.flags & IFF_LOOPBACK) == 0 &&
                          isUsable(other);
               });
    }

    InterfaceType lowerTypeOf(const NetworkLink& link, int depth) const
    {
        // A container that was given a share of its host's device.
        if (link.isLowerElsewhere) return InterfaceType::wiredEthernet;
        const auto lower = snapshot_.links.find(link.lower);
        return lower == snapshot_.links.end() ? InterfaceType::other
                                              : ownTypeOf(lower->second, depth);
    }

    InterfaceType typeOfPorts(const NetworkLink& link, int depth) const
    {
        const bool hasWiredPort = std::ranges::any_of(snapshot_.links, [&](const auto& entry) {
            const NetworkLink& port = entry.second;
            return port.master == link.index && isRunning(port) &&
                   ownTypeOf(port, depth) == InterfaceType::wiredEthernet;
        });
        return hasWiredPort ? InterfaceType::wiredEthernet : InterfaceType::other;
    }

    const RouteSnapshot& snapshot_;
    const DeviceTypes& deviceTypes_;
};

/** Smaller is preferred. */
std::uint64_t bestMetric(const RouteSnapshot& snapshot, std::uint32_t index, bool isIPv6)
{
    std::uint64_t best = std::numeric_limits<std::uint64_t>::max();
    for (const DefaultRoute& route : snapshot.defaultRoutes) {
        if (route.interfaceIndex == index && route.isIPv6 == isIPv6) {
            best = std::min<std::uint64_t>(best, route.metric);
        }
    }
    return best;
}

} // namespace

NetworkPath pathOf(const RouteSnapshot& snapshot, const DeviceTypes& deviceTypes)
{
    const LinkJudge judge(snapshot, deviceTypes);
    NetworkPath path;
    for (const auto& [index, link] : snapshot.links) {
        if (!judge.isUsable(link)) continue;
        path.availableInterfaces.push_back(
            {.type = judge.typeOf(link), .index = index, .name = link.name});
    }
    std::ranges::sort(path.availableInterfaces, {}, [&snapshot](const NetworkInterface& interface) {
        return std::tuple(bestMetric(snapshot, interface.index, false),
                          bestMetric(snapshot, interface.index, true), interface.index);
    });
    return path;
}

} // namespace korvane
