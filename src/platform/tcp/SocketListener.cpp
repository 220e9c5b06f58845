#include "platform/tcp/SocketListener.h"

#include "platform/tcp/SocketNetwork.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr int backlog = 128;
constexpr int acceptedInOneGo = 32;
constexpr std::chrono::seconds pauseWithoutDescriptors{1};

/** IPv6 and IPv4 addresses, as the socket calls want them. */
union Address {
    sockaddr any;
    sockaddr_in ipv4;
    sockaddr_in6 ipv6;
};

FileDescriptor openSocket(int family)
{
    return FileDescriptor(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

bool setOption(const FileDescriptor& socket, int level, int option, int value)
{
    return ::setsockopt(socket.get(), level, option, &value, sizeof value) == 0;
}

bool bindToPort(const FileDescriptor& socket, bool overIPv6, TCPPort port)
{
    Address address{};
    socklen_t length = 0;
    if (overIPv6) {
        address.ipv6.sin6_family = AF_INET6;
        address.ipv6.sin6_addr = in6addr_any;
        address.ipv6.sin6_port = htons(port.number());
        length = sizeof address.ipv6;
    } else {
        address.ipv4.sin_family = AF_INET;
        address.ipv4.sin_addr.s_addr = htonl(INADDR_ANY);
        address.ipv4.sin_port = htons(port.number());
        length = sizeof address.ipv4;
    }
    return ::bind(socket.get(), &address.any, length) == 0;
}

std::optional<std::uint16_t> portOf(const FileDescriptor& socket)
{
    Address address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket.get(), &address.any, &length) != 0) return {};
    return ntohs(address.any.sa_family == AF_INET6 ? address.ipv6.sin6_port
                                                   : address.ipv4.sin_port);
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

Result<std::shared_ptr<TCPListener>, SystemError> SocketListener::make(TCPPort port,
                                                                       SerialQueue& queue)
{
    bool overIPv6 = true;
    FileDescriptor socket = openSocket(AF_INET6);
    if (socket) {
        if (!setOption(socket, IPPROTO_IPV6, IPV6_V6ONLY, 0)) return failure(SystemError::last());
    } else if (errno == EAFNOSUPPORT) {
        overIPv6 = false;
        socket = openSocket(AF_INET);
    }
    if (!socket || !setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1)) {
        return failure(SystemError::last());
    }
    return std::make_shared<SocketListener>(std::move(socket), overIPv6, port, queue);
}

SocketListener::SocketListener(FileDescriptor socket, bool overIPv6, TCPPort port,
                               SerialQueue& queue)
    : socket_(std::move(socket)), overIPv6_(overIPv6), requestedPort_(port), queue_(queue)
{
}

void SocketListener::start(StateHandler onState, ConnectionHandler onConnection)
{
    onState_ = std::move(onState);
    onConnection_ = std::move(onConnection);
    queue_.async([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->listenNow();
    });
}

void SocketListener::listenNow()
{
    if (!socket_) return;
    if (!bindToPort(socket_, overIPv6_, requestedPort_) || ::listen(socket_.get(), backlog) != 0) {
        report(Failed{SystemError::last()});
        return;
    }
    boundPort_ = portOf(socket_);
    watch_ = queue_.watch(socket_.get());
    report(Ready{});
    acceptWhenReadable();
}

void SocketListener::acceptWhenReadable()
{
    if (watch_) watch_->whenReadable([this] { acceptWaiting(); });
}

void SocketListener::acceptWaiting()
{
    const auto self = shared_from_this();
    for (int accepted = 0; socket_ && accepted < acceptedInOneGo; ++accepted) {
        FileDescriptor peer(
            ::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (peer) {
            if (!handOver(std::move(peer))) return;
        } else if (isShortage(errno)) {
            pause(SystemError::last());
            return;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            break;
        }
    }
    acceptWhenReadable();
}

bool SocketListener::handOver(FileDescriptor peer)
{
    try {
        onConnection_(std::make_shared<SocketConnection>(std::move(peer), queue_, readBuffer_));
        paused_ = false;
        return true;
    } catch (const std::bad_alloc&) {
        pause(SystemError{ENOMEM});
        return false;
    }
}

/** The waiting connection stays readable, so asking again at once would spin. */
void SocketListener::pause(SystemError error)
{
    resumption_ = queue_.after(pauseWithoutDescriptors, [this] { acceptWaiting(); });
    if (!std::exchange(paused_, true)) report(Waiting{error});
}

void SocketListener::cancel()
{
    resumption_.reset();
    watch_.reset();
    socket_ = FileDescriptor();
    queue_.async([self = shared_from_this()] { self->report(Cancelled{}); });
}

void SocketListener::report(const State& state)
{
    if (onState_) onState_(state);
}

Result<std::shared_ptr<TCPListener>, SystemError> SocketNetwork::makeListener(TCPPort port,
                                                                              SerialQueue& queue)
{
    return SocketListener::make(port, queue);
}

} // namespace korvane
