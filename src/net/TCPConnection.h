#pragma once

#include "base/Data.h"
#include "base/SystemError.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace korvane {

/** What one read brought. */
struct Received {
    /** At most what was asked for; valid during the handler. */
    std::span<const std::uint8_t> bytes;
    /** The peer sends nothing more. */
    bool ended = false;
    std::optional<SystemError> error;
};

/**
 * One accepted TCP connection. Used on its queue only; handlers run there, perhaps before the call
 * that takes them returns. Destroying a connection closes it.
 */
class TCPConnection {
public:
    using ReceiveHandler = std::function<void(const Received&)>;
    using SendHandler = std::function<void(std::optional<SystemError>)>;

    virtual ~TCPConnection() = default;

    /** The address that the peer has, without its port: the same bytes for all of its connections.
     */
    virtual std::string peerAddress() const = 0;

    /** Whether the peer is a program of this machine, whichever of its addresses it has used. */
    virtual bool isPeerLocal() const = 0;

    /** Reads once, between 1 and `maximum` bytes; one read at a time. */
    virtual void receive(std::size_t maximum, ReceiveHandler handler) = 0;

    /** Sends the pieces, in order and whole, and says when the system has taken them.
     *  One send follows the other. */
    virtual void send(std::vector<Data> pieces, SendHandler handler) = 0;

    /** Tells the peer that nothing more will be sent; what it sends can still be received. */
    virtual void finishSending() = 0;

    /** Closes the connection at once. No handler runs afterwards. */
    virtual void cancel() = 0;
};

} // namespace korvane
