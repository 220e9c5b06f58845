#pragma once

#include "net/NetworkPath.h"
#include "net/RouteSnapshot.h"

#include <functional>
#include <string>

namespace korvane {

/** Tells what the driver of a hardware device says that it is, by the device's name. */
using DeviceTypes = std::function<InterfaceType(const std::string& name)>;

/**
 * The interfaces that are up and have an address: first those with an IPv4 default route, the
 * smallest metric first, then those with an IPv6 one, then the others in the order of their
 * indexes.
 *
 * Wired is Ethernet hardware, and what stands for it: a VLAN or MAC VLAN on it, a bond of it, and
 * the cable of a container (a veth) that has the default route or is all there is; each with an
 * address that it was given. The host's ends of such cables, bridges, their ports and those of
 * bonds, tunnels, taps of virtual machines and dummies are none.
 */
NetworkPath pathOf(const RouteSnapshot& snapshot, const DeviceTypes& deviceTypes);

} // namespace korvane
