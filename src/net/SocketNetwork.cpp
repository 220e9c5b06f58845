#include "net/SocketNetwork.h"

#include "base/FileDescriptor.h"
#include "net/SocketConnection.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <new>
#include <utility>

namespace korvane {

namespace {

constexpr int backlog = 128;
constexpr int maxAcceptsPerTurn = 32;
constexpr std::chrono::seconds pauseInShortage{1};

/** What connections leave to the rest of the process: files, workers, and the responder of
 *  avahi-core, which aborts when a socket of its own cannot be opened. */
constexpr long reservedDescriptors = 16;

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

/** No descriptors or no memory: the connection goes on waiting, and so do we. */
bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

/** An error of the one connection, which is gone with it: its network's (accept(2)), or the
 *  firewall's. */
bool isOfConnection(int error)
{
    constexpr std::array errors = {ECONNABORTED, EINTR,           EPERM,          EPROTO,
                                   ENETDOWN,     ENOPROTOOPT,     EHOSTDOWN,      ENONET,
                                   EHOSTUNREACH, EOPNOTSUPP,      ENETUNREACH,    ETIMEDOUT,
                                   ENOSR,        ESOCKTNOSUPPORT, EPROTONOSUPPORT};
    return std::ranges::find(errors, error) != errors.end();
}

/** Whether a new connection's descriptor is one of the last that the process may open: the lowest
 *  that is free is always taken. */
bool isReserved(const FileDescriptor& descriptor)
{
    const long limit = ::sysconf(_SC_OPEN_MAX);
    return limit >= 0 && descriptor.get() >= limit - reservedDescriptors;
}

/** A listener on one non-blocking socket. */
class SocketListener final : public TCPListener,
                             public std::enable_shared_from_this<SocketListener> {
public:
    SocketListener(FileDescriptor socket, bool overIPv6, TCPPort port, SerialQueue& queue)
        : socket_(std::move(socket)), overIPv6_(overIPv6), requestedPort_(port), queue_(queue)
    {
    }

    void start(StateHandler onState, ConnectionHandler onConnection) override;
    void cancel() override;
    std::optional<std::uint16_t> port() const override { return boundPort_; }

private:
    void listenNow();
    void acceptWhenReadable();
    void acceptWaiting();
    /** Hands an accepted connection over; false, and paused, when descriptors or memory have run
     *  out. */
    bool handOver(FileDescriptor peer);
    /** The connection accepted last, where there was no room for it; otherwise the next one. */
    FileDescriptor nextConnection();
    void pause(SystemError error);
    void report(const State& state);

    FileDescriptor socket_;
    const bool overIPv6_;
    const TCPPort requestedPort_;
    SerialQueue& queue_;
    std::optional<std::uint16_t> boundPort_;
    std::unique_ptr<DescriptorWatch> watch_;
    std::unique_ptr<DelayedTask> resumption_;
    FileDescriptor postponed_;
    bool isPaused_ = false;
    StateHandler onState_;
    ConnectionHandler onConnection_;
    std::shared_ptr<ReadBuffer> readBuffer_ = std::make_shared<ReadBuffer>();
};

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
    for (int turn = 0; socket_ && turn < maxAcceptsPerTurn; ++turn) {
        FileDescriptor peer = nextConnection();
        const SystemError error = SystemError::last();
        if (peer) {
            if (!handOver(std::move(peer))) return;
        } else if (isShortage(error.code)) {
            return pause(error);
        } else if (error.code == EAGAIN || error.code == EWOULDBLOCK) {
            break;
        } else if (!isOfConnection(error.code)) {
            // The socket itself: it would go on being readable, and accept go on failing.
            watch_.reset();
            return report(Failed{error});
        }
    }
    acceptWhenReadable();
}

FileDescriptor SocketListener::nextConnection()
{
    if (!postponed_) {
        return FileDescriptor(
            ::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    }
    FileDescriptor lowered(::fcntl(postponed_.get(), F_DUPFD_CLOEXEC, 0));
    if (lowered) postponed_ = FileDescriptor();
    return lowered;
}

bool SocketListener::handOver(FileDescriptor peer)
{
    if (isReserved(peer)) {
        postponed_ = std::move(peer);
        pause(SystemError{EMFILE});
        return false;
    }
    try {
        onConnection_(std::make_shared<SocketConnection>(std::move(peer), queue_, readBuffer_));
        isPaused_ = false;
        return true;
    } catch (const std::bad_alloc&) {
        pause(SystemError{ENOMEM});
        return false;
    }
}

/** The waiting connection stays readable, so asking again at once would spin. */
void SocketListener::pause(SystemError error)
{
    resumption_ = queue_.after(pauseInShortage, [this] { acceptWaiting(); });
    if (!std::exchange(isPaused_, true)) report(Waiting{error});
}

void SocketListener::cancel()
{
    resumption_.reset();
    watch_.reset();
    postponed_ = FileDescriptor();
    socket_ = FileDescriptor();
    queue_.async([self = shared_from_this()] { self->report(Cancelled{}); });
}

void SocketListener::report(const State& state)
{
    if (onState_) onState_(state);
}

} // namespace

Result<std::shared_ptr<TCPListener>, SystemError> SocketNetwork::makeListener(TCPPort port,
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

} // namespace korvane
