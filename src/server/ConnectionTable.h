#pragma once

#include "platform/log/Log.h"
#include "platform/queue/Queue.h"
#include "server/ClientConnection.h"
#include "server/HeldBytes.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * The open connections, and the bounds that keep one client from taking the printer away from the
 * others: how many there are, how long one may be silent, and how much is held for all of them.
 *
 * Used on the server's queue only.
 */
class ConnectionTable {
public:
    struct Limits {
        std::size_t connections = 64;
        std::chrono::seconds silence{60};
        /** Bytes held in all: requests that are being received, and documents on their way. */
        std::size_t heldBytes = std::size_t{2} << 30;
        /** A request this small is always taken, so that a printer that is busy receiving can still
         *  be asked for its attributes. */
        std::size_t alwaysHeld = 65536;
    };

    /** `held` counts what is held beyond the connections. */
    ConnectionTable(SerialQueue& queue, Log& log, const HeldBytes& held, Limits limits);

    /** Takes a new connection in. When there are too many, the one silent longest is closed, those
     *  that never said anything first. False when every connection waits for an answer of ours, so
     *  that none can give way. */
    bool admit(const std::shared_ptr<ClientConnection>& connection);

    /** Closes the connection that was silent longest, if any. */
    bool closeMostSilent(std::string_view reason);

    /** The client sent or took something. */
    void heardFrom(const ClientConnection& connection);

    /** The client waits for our answer: its silence does not count. */
    void waitForUs(const ClientConnection& connection);

    /** Counts what is held for a connection, `bytes` in all. When it is too much with all the rest,
     *  the connection that holds most is closed; false when it is this one, which is left open. */
    bool hold(const ClientConnection& connection, std::size_t bytes);

    /** The queue that all of this happens on. */
    SerialQueue& queue() const { return queue_; }

    /** The connection has been closed. It is dropped after the task that closed it. */
    void forget(const ClientConnection& connection);

private:
    struct Entry {
        std::shared_ptr<ClientConnection> connection;
        std::chrono::steady_clock::time_point lastHeard;
        std::size_t heldBytes = 0;
        bool hasSpoken = false;
        bool waitsForUs = false;
    };

    Entry* find(const ClientConnection& connection);
    const Entry* mostSilent() const;
    const Entry* holdingMost() const;
    void closeSilent();
    void armSilenceCheck();

    SerialQueue& queue_;
    Log& log_;
    const HeldBytes held_;
    const Limits limits_;
    std::vector<Entry> entries_;
    std::size_t heldBytes_ = 0;
    std::unique_ptr<DelayedTask> silenceCheck_;
};

} // namespace korvane
