#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace korvane {

/** One network device as the kernel describes it. */
struct NetworkLink {
    std::uint32_t index = 0;
    std::string name;
    /** The ARPHRD_ number of its hardware. */
    std::uint16_t hardwareType = 0;
    /** IFF_ flags. */
    std::uint32_t flags = 0;
    /** What made a device that is not hardware: "veth", "bridge", "vlan", ...; else empty. */
    std::string kind;
    /** The bridge or bond that it is a port of; 0 when it stands alone. */
    std::uint32_t master = 0;
    /** The device that it stands on; 0 without one. */
    std::uint32_t lower = 0;
    /** `lower` is a device of another network namespace. */
    bool isLowerElsewhere = false;
};

/** A device that a default route leads to. */
struct DefaultRoute {
    bool isIPv6 = false;
    std::uint32_t metric = 0;
    std::uint32_t interfaceIndex = 0;
};

/** The addresses of one device that can be used now. */
struct LinkAddresses {
    /** Any at all. */
    bool any = false;
    /** One that it was given, not the IPv6 link-local one that every device makes for itself. */
    bool given = false;
};

/** Links, addresses and default routes at one moment, as rtnetlink(7) lists them. */
struct RouteSnapshot {
    std::map<std::uint32_t, NetworkLink> links;
    std::map<std::uint32_t, LinkAddresses> addresses;
    std::vector<DefaultRoute> defaultRoutes;
};

enum class ListingProgress { more, done, failed };

/** Adds what one datagram of a listing says, and tells whether the listing goes on after it. What
 *  cannot be understood is left out. */
ListingProgress addListing(std::span<const std::uint8_t> datagram, RouteSnapshot& snapshot);

} // namespace korvane
