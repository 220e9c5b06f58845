#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "server/ClientConnection.h"
#include "server/MemoryQuota.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * Owns the open connections, and keeps one client from taking the printer away from the others: it
 * bounds how many connections there are, how long one may be idle, and the memory of them all.
 *
 * Used on the server's queue only, on which it ends as well; connections still open are closed
 * then.
 */
class ConnectionTable {
public:
    struct Limits {
        std::size_t connections = 64;
        /** How long a client may neither send nor take a byte, unless it waits for our answer. */
        std::chrono::seconds idleTime{60};
        /** Bytes in all: requests that are being received, and documents on their way. */
        std::size_t memory = std::size_t{2} << 30;
        /** A request this small is taken even beyond `memory`, so that a printer that is busy
         *  receiving can still be asked for its attributes. */
        std::size_t smallRequest = 65536;
    };

    /** `documents` counts the bytes beyond those of the connections. */
    ConnectionTable(std::shared_ptr<SerialQueue> queue, Log& log, MemoryQuota documents,
                    Limits limits, ClientConnection::Router router);

    /** Takes a new connection in. When there are too many, the least recently active one is closed,
     *  those that never sent anything first; when every one waits for its answer, the new one. */
    void accept(std::shared_ptr<TCPConnection> connection);

    /** Closes the least recently active connection that does not wait for an answer; false when
     *  there is none. */
    bool closeLeastRecentlyActive(std::string_view reason);

    /** Calls `handler` once, as soon as no connection is open: at once when none is. */
    void whenEmpty(std::function<void()> handler);

    // What connections say of themselves:

    /** The client sent or took something. */
    void recordActivity(const ClientConnection& connection);

    /** The request is complete: until its answer is sent the connection is not idle, and whoever
     *  keeps the document counts its bytes. */
    void beginAnswering(const ClientConnection& connection);

    /** Counts `bytes` in all for a connection. When this is too much with all the rest, the
     *  connection with the most is closed; false when that is this one, which is left open. */
    bool charge(const ClientConnection& connection, std::size_t bytes);

    /** The connection has been closed. It is dropped after the task that closed it. */
    void forget(const ClientConnection& connection);

    const std::shared_ptr<SerialQueue>& queue() const { return queue_; }
    const ClientConnection::Router& router() const { return router_; }

private:
    /** In the order in which connections give way to new ones; those being answered never do. */
    enum class Phase { connected, receiving, answering };

    struct Entry {
        std::shared_ptr<ClientConnection> connection;
        std::chrono::steady_clock::time_point lastActive;
        std::size_t bytes = 0;
        Phase phase = Phase::connected;
    };

    Entry* find(const ClientConnection& connection);
    const Entry* leastRecentlyActive() const;
    const Entry* largest() const;
    void closeIdle();
    void armIdleCheck();

    const std::shared_ptr<SerialQueue> queue_;
    Log& log_;
    const MemoryQuota documents_;
    const Limits limits_;
    const ClientConnection::Router router_;
    std::vector<Entry> entries_;
    std::size_t bytes_ = 0;
    std::unique_ptr<DelayedTask> idleCheck_;
    std::function<void()> whenEmpty_;
};

} // namespace korvane
