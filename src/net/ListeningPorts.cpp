#include "net/ListeningPorts.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>

namespace korvane {

namespace {

/** TCP_LISTEN of the kernel's states. */
constexpr std::string_view listening = "0A";

/** The file says nothing of its size and is written as it is read. */
std::string readTable(const char* path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

ListeningPorts listeningPorts()
{
    ListeningPorts ports;
    for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"})
        addListeningPorts(readTable(table), ports);
    return ports;
}

void addListeningPorts(std::string_view table, ListeningPorts& ports)
{
    std::istringstream lines{std::string(table)};
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream columns(line);
        std::string number;
        std::string local;
        std::string remote;
        std::string state;
        std::string skipped;
        uid_t user = 0;
        columns >> number >> local >> remote >> state >> skipped >> skipped >> skipped >> user;
        const std::size_t colon = local.find(':');
        if (!columns || state != listening || colon == std::string::npos) continue;
        unsigned port = 0;
        std::istringstream(local.substr(colon + 1)) >> std::hex >> port;
        ports.emplace(static_cast<std::uint16_t>(port), user);
    }
}

bool isOnNetwork()
{
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) return false;
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(first, ::freeifaddrs);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        const bool isUp = (entry->ifa_flags & IFF_RUNNING) != 0;
        const bool isOurOwn = (entry->ifa_flags & IFF_LOOPBACK) != 0;
        if (!isUp || isOurOwn || entry->ifa_addr == nullptr) continue;
        const int family = entry->ifa_addr->sa_family;
        if (family == AF_INET || family == AF_INET6) return true;
    }
    return false;
}

} // namespace korvane
