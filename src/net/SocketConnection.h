#pragma once

#include "base/FileDescriptor.h"
#include "event/Queue.h"
#include "net/TCPConnection.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/** Where the connections of one queue put what they read, one after the other. */
using ReadBuffer = std::array<std::uint8_t, 262144>;

/** A connection on a non-blocking socket. */
class SocketConnection final : public TCPConnection,
                               public std::enable_shared_from_this<SocketConnection> {
public:
    SocketConnection(FileDescriptor socket, SerialQueue& queue, std::shared_ptr<ReadBuffer> buffer);

    std::string peerAddress() const override;
    bool isPeerLocal() const override;
    void receive(std::size_t maximum, ReceiveHandler handler) override;
    void send(std::vector<Data> pieces, SendHandler handler) override;
    void finishSending() override;
    void cancel() override;

private:
    /** Serves one read request after the other for as long as there is something to read. */
    void readWaiting();
    /** One read; false when there is nothing to read yet. */
    bool readOnce();
    void sendRest();
    /** Drops the first `count` bytes of what is to be sent. */
    void dropSent(std::size_t count);
    void finishSend(std::optional<SystemError> error);
    DescriptorWatch& watch();

    FileDescriptor socket_;
    SerialQueue& queue_;
    std::shared_ptr<ReadBuffer> buffer_;
    std::unique_ptr<DescriptorWatch> watch_;
    ReceiveHandler onReceived_;
    std::size_t maximum_ = 0;
    bool reading_ = false;
    std::vector<Data> unsent_;
    SendHandler onSent_;
};

} // namespace korvane
