#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string_view>

namespace korvane {

/** TCP ports on which programs of this machine listen, by IPv4, IPv6 or both, and the users whose
 *  programs these are. */
using ListeningPorts = std::map<std::uint16_t, uid_t>;

/** Those of this moment and of the network namespace that we are in. */
ListeningPorts listeningPorts();

/** Adds those in a table as the kernel writes it to /proc/net/tcp and tcp6 (proc(5)). */
void addListeningPorts(std::string_view table, ListeningPorts& ports);

/** Whether a network that is not this machine's own is connected: an interface is up and has an
 *  address there. */
bool isOnNetwork();

} // namespace korvane
