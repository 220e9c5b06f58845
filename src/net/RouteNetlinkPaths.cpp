#include "net/RouteNetlinkPaths.h"

#include "base/FileDescriptor.h"
#include "base/Lifetime.h"
#include "net/RoutePath.h"
#include "net/RouteSnapshot.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/** The kernel fills at most this much at once. */
constexpr std::size_t maxDatagramSize = std::size_t{32} * 1024;

/** A routing socket that is told of changes in the groups. */
FileDescriptor openRoutingSocket(std::uint32_t groups)
{
    FileDescriptor socket(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    if (!socket || ::bind(socket.get(), any, sizeof address) != 0) return {};
    return socket;
}

bool requestListing(const FileDescriptor& socket, std::uint16_t type)
{
    struct {
        nlmsghdr header;
        rtgenmsg body;
    } request{};
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof request.body);
    request.header.nlmsg_type = type;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.body.rtgen_family = AF_UNSPEC;
    return ::send(socket.get(), &request, request.header.nlmsg_len, 0) > 0;
}

/** Reads one listing to its end. The kernel writes it as it is read, so nothing is waited for. */
bool readListing(const FileDescriptor& socket, std::span<std::uint8_t> room,
                 RouteSnapshot& snapshot)
{
    for (;;) {
        const ssize_t count = ::recv(socket.get(), room.data(), room.size(), MSG_TRUNC);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0 || static_cast<std::size_t>(count) > room.size()) return false;
        const auto progress = addListing(room.first(static_cast<std::size_t>(count)), snapshot);
        if (progress != ListingProgress::more) return progress == ListingProgress::done;
    }
}

/** What there is now, asked for on a socket of its own, where no change comes in between. */
std::optional<RouteSnapshot> takeSnapshot()
{
    const FileDescriptor socket = openRoutingSocket(0);
    if (!socket) return std::nullopt;
    RouteSnapshot snapshot;
    std::vector<std::uint8_t> room(maxDatagramSize);
    for (const std::uint16_t type : {RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE}) {
        if (!requestListing(socket, type) || !readListing(socket, room, snapshot)) {
            return std::nullopt;
        }
    }
    return snapshot;
}

/** Takes what is waiting. That there were changes is all that counts, so it may be cut, and a flood
 *  that the kernel had to drop (ENOBUFS) is a change like any other. */
void discardWaiting(const FileDescriptor& socket)
{
    std::array<std::uint8_t, 256> room{};
    for (;;) {
        const ssize_t count = ::recv(socket.get(), room.data(), room.size(), MSG_TRUNC);
        if (count < 0 && errno != ENOBUFS && errno != EINTR) return;
    }
}

/** The DEVTYPE of the device's class: "wlan", "wwan", "bluetooth"; empty for an Ethernet card. */
std::string declaredType(const std::filesystem::path& device)
{
    constexpr std::string_view key = "DEVTYPE=";
    std::ifstream file(device / "uevent");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) return line.substr(key.size());
    }
    return {};
}

bool hasEntry(const std::filesystem::path& device, const char* name)
{
    std::error_code ignored;
    return std::filesystem::exists(device / name, ignored);
}

/** What the driver of the machine's network device `name` says that it is; wired Ethernet when it
 *  says nothing, as the drivers of Ethernet cards do. */
InterfaceType deviceType(const std::string& name)
{
    const auto device = std::filesystem::path("/sys/class/net") / name;
    const std::string type = declaredType(device);
    if (type == "wlan" || hasEntry(device, "phy80211") || hasEntry(device, "wireless")) {
        return InterfaceType::wifi;
    }
    // Hardware has a device behind it; what a virtual machine's host makes for its guests has none.
    const bool isCard = (type.empty() || type == "dsa") && hasEntry(device, "device");
    return isCard ? InterfaceType::wiredEthernet : InterfaceType::other;
}

class RouteMonitor final : public Subscription {
public:
    RouteMonitor(SerialQueue& queue, NetworkPaths::UpdateHandler handler)
        : queue_(queue), handler_(std::move(handler))
    {
        // Watching begins before the first look, so that no change is missed in between.
        socket_ = openRoutingSocket(RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR |
                                    RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE);
        if (socket_) {
            watch_ = queue_.watch(socket_.get());
            waitForChange();
        }
        queue_.async(lifetime_.guard([this] { look(); }));
    }

private:
    /** Delivers the path the first time, and whenever it is another. */
    void look()
    {
        const auto snapshot = takeSnapshot();
        if (!snapshot) {
            // Descriptors or memory ran out, or the listing was overtaken by changes.
            retry_ = queue_.after(std::chrono::seconds(1), [this] { look(); });
            return;
        }
        NetworkPath path = pathOf(*snapshot, deviceType);
        if (path != path_) deliver(std::move(path));
    }

    void waitForChange()
    {
        watch_->whenReadable([this] {
            discardWaiting(socket_);
            waitForChange();
            look();
        });
    }

    void deliver(NetworkPath path)
    {
        path_ = std::move(path);
        // The handler may end this watch.
        const auto handler = handler_;
        handler(NetworkPath(*path_));
    }

    SerialQueue& queue_;
    const NetworkPaths::UpdateHandler handler_;
    std::optional<NetworkPath> path_;
    FileDescriptor socket_;
    std::unique_ptr<DescriptorWatch> watch_;
    std::unique_ptr<DelayedTask> retry_;
    Lifetime lifetime_;
};

} // namespace

std::unique_ptr<Subscription> RouteNetlinkPaths::monitor(SerialQueue& queue, UpdateHandler handler)
{
    return std::make_unique<RouteMonitor>(queue, std::move(handler));
}

} // namespace korvane
