#include "net/SocketConnection.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace korvane {

namespace {

/** Reads in a row, after which other connections of the queue get their turn. */
constexpr int maxReadsPerTurn = 8;

constexpr std::size_t maxPiecesPerSend = 16;

bool wouldBlock(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

/** The bytes of an address of the socket, without its port; `name` is the call that gives it. */
std::string addressOf(int socket, int (*name)(int, sockaddr*, socklen_t*) noexcept)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (name(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
    const auto bytesOf = [](const auto& field) {
        return std::string(reinterpret_cast<const char*>(&field), sizeof field);
    };
    if (address.ss_family == AF_INET)
        return bytesOf(reinterpret_cast<const sockaddr_in&>(address).sin_addr);
    if (address.ss_family == AF_INET6)
        return bytesOf(reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
    return {};
}

} // namespace

SocketConnection::SocketConnection(FileDescriptor socket, SerialQueue& queue,
                                   std::shared_ptr<ReadBuffer> buffer)
    : socket_(std::move(socket)), queue_(queue), buffer_(std::move(buffer))
{
}

std::string SocketConnection::peerAddress() const
{
    return addressOf(socket_.get(), ::getpeername);
}

/** The system gives connections to an address of its own that same address to come from. */
bool SocketConnection::isPeerLocal() const
{
    const std::string peer = peerAddress();
    return !peer.empty() && peer == addressOf(socket_.get(), ::getsockname);
}

DescriptorWatch& SocketConnection::watch()
{
    if (!watch_) watch_ = queue_.watch(socket_.get());
    return *watch_;
}

void SocketConnection::receive(std::size_t maximum, ReceiveHandler handler)
{
    if (!socket_) return;
    maximum_ = maximum;
    onReceived_ = std::move(handler);
    if (!reading_) readWaiting();
}

void SocketConnection::readWaiting()
{
    const auto self = shared_from_this();
    reading_ = true;
    int reads = 0;
    bool waiting = false;
    while (onReceived_ && socket_ && !waiting && reads < maxReadsPerTurn) {
        waiting = !readOnce();
        ++reads;
    }
    reading_ = false;
    if (!onReceived_ || !socket_) return;
    if (waiting) {
        watch().whenReadable([this] { readWaiting(); });
    } else {
        queue_.async([weak = weak_from_this()] {
            if (auto connection = weak.lock()) connection->readWaiting();
        });
    }
}

bool SocketConnection::readOnce()
{
    const ssize_t count =
        ::recv(socket_.get(), buffer_->data(), std::min(maximum_, buffer_->size()), 0);
    if (count < 0 && (wouldBlock(errno) || errno == EINTR)) return false;
    Received received;
    if (count > 0) received.bytes = std::span(*buffer_).first(static_cast<std::size_t>(count));
    if (count == 0) received.ended = true;
    if (count < 0) received.error = SystemError::last();
    const ReceiveHandler handler = std::exchange(onReceived_, nullptr);
    handler(received);
    return true;
}

void SocketConnection::send(std::vector<Data> pieces, SendHandler handler)
{
    if (!socket_) return;
    const bool sending = !unsent_.empty();
    std::ranges::move(pieces, std::back_inserter(unsent_));
    onSent_ = std::move(handler);
    if (!sending) sendRest();
}

void SocketConnection::sendRest()
{
    const auto self = shared_from_this();
    while (socket_ && !unsent_.empty()) {
        std::array<iovec, maxPiecesPerSend> vectors{};
        const std::size_t count = std::min(unsent_.size(), vectors.size());
        for (std::size_t i = 0; i < count; ++i) {
            const auto bytes = unsent_[i].bytes();
            // sendmsg reads through the pointer only.
            vectors.at(i) = {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
        }
        msghdr message{};
        message.msg_iov = vectors.data();
        message.msg_iovlen = count;
        const ssize_t sent = ::sendmsg(socket_.get(), &message, MSG_NOSIGNAL);
        if (sent < 0 && (wouldBlock(errno) || errno == EINTR)) {
            watch().whenWritable([this] { sendRest(); });
            return;
        }
        if (sent < 0) {
            const SystemError error = SystemError::last();
            unsent_.clear();
            finishSend(error);
            return;
        }
        dropSent(static_cast<std::size_t>(sent));
    }
    finishSend({});
}

void SocketConnection::dropSent(std::size_t count)
{
    auto piece = unsent_.begin();
    while (piece != unsent_.end() && count >= piece->size()) {
        count -= piece->size();
        ++piece;
    }
    unsent_.erase(unsent_.begin(), piece);
    if (!unsent_.empty()) unsent_.front() = unsent_.front().slice(count);
}

void SocketConnection::finishSend(std::optional<SystemError> error)
{
    if (const SendHandler handler = std::exchange(onSent_, nullptr)) handler(error);
}

void SocketConnection::finishSending()
{
    if (socket_) ::shutdown(socket_.get(), SHUT_WR);
}

void SocketConnection::cancel()
{
    onReceived_ = nullptr;
    onSent_ = nullptr;
    unsent_.clear();
    watch_.reset();
    socket_ = FileDescriptor();
}

} // namespace korvane
