#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/tcp/SocketConnection.h"
#include "platform/tcp/TCPListener.h"

#include <memory>
#include <vector>

namespace korvane {

/** A listener on one non-blocking socket: IPv6 that takes IPv4 as well, or IPv4 where there is no
 *  IPv6. */
class SocketListener final : public TCPListener,
                             public std::enable_shared_from_this<SocketListener> {
public:
    static Result<std::shared_ptr<TCPListener>, SystemError> make(TCPPort port, SerialQueue& queue);

    SocketListener(FileDescriptor socket, bool overIPv6, TCPPort port, SerialQueue& queue);

    void start(StateHandler onState, ConnectionHandler onConnection) override;
    void cancel() override;
    std::optional<std::uint16_t> port() const override { return boundPort_; }

private:
    void listenNow();
    void acceptWhenReadable();
    void acceptWaiting();
    /** Hands an accepted connection over; false, and paused, when memory has run out. */
    bool handOver(FileDescriptor peer);
    void pause(SystemError error);
    void report(const State& state);

    FileDescriptor socket_;
    const bool overIPv6_;
    const TCPPort requestedPort_;
    SerialQueue& queue_;
    std::optional<std::uint16_t> boundPort_;
    std::unique_ptr<DescriptorWatch> watch_;
    std::unique_ptr<DelayedTask> resumption_;
    bool paused_ = false;
    StateHandler onState_;
    ConnectionHandler onConnection_;
    std::shared_ptr<ReadBuffer> readBuffer_ = std::make_shared<ReadBuffer>();
};

} // namespace korvane
