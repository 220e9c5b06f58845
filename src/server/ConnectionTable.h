#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "server/ClientConnection.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
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
        /** How long a client may send nothing before its headers are complete. */
        std::chrono::seconds headTime{60};
        /** How long it may send nothing of a body. */
        std::chrono::seconds bodyTime{600};
        /** How long it may take to close after its answer. */
        std::chrono::seconds lingerTime{5};
        /** Bytes in all that are kept of requests: headers, attributes, and what has not been
         *  written yet of documents. */
        std::size_t memory = std::size_t{16} << 20;
        /** A request that keeps no more than this is taken even beyond `memory`, so that whoever
         *  fills it leaves the printer to the others. */
        std::size_t smallRequest = 65536;
    };

    ConnectionTable(std::shared_ptr<SerialQueue> queue, Log& log, Limits limits,
                    ClientConnection::Router router);

    /** Takes a new connection in. When there are too many another one gives way, or the new one is
     *  refused. */
    void accept(std::shared_ptr<TCPConnection> connection);

    /**
     * Closes the connection that a new one of this peer is worth more than; false when there is
     * none. Those that have their answer go first, then the longest idle one whose headers are not
     * complete. Else it is the longest idle one that does not wait for its answer, of the peer that
     * has most: nobody's upload is ended for the connections of somebody else.
     */
    bool makeRoom(const std::string& peer, std::string_view reason);

    /** Calls `handler` once, as soon as no connection is open: at once when none is. */
    void whenEmpty(std::function<void()> handler);

    // What connections say of themselves:

    /** The client sent something. */
    void recordActivity(const ClientConnection& connection);

    /** The headers are complete. */
    void beginBody(const ClientConnection& connection);

    /** The request is complete: until its answer is sent the connection is not idle. */
    void beginAnswering(const ClientConnection& connection);

    /** The answer is being sent; nothing is kept any more. */
    void beginLingering(const ClientConnection& connection);

    /** Counts `bytes` in all for a connection; false when this is too much with all the rest. */
    bool charge(const ClientConnection& connection, std::size_t bytes);

    /** The connection has been closed. It is dropped after the task that closed it. */
    void forget(const ClientConnection& connection);

    const std::shared_ptr<SerialQueue>& queue() const { return queue_; }
    const ClientConnection::Router& router() const { return router_; }

private:
    using Time = std::chrono::steady_clock::time_point;

    enum class Phase { lingering, head, body, answering };

    struct Entry {
        std::shared_ptr<ClientConnection> connection;
        std::string peer;
        /** When it last sent something, or got its answer. */
        Time lastActive;
        std::size_t bytes = 0;
        Phase phase = Phase::head;
    };

    Entry* find(const ClientConnection& connection);
    const Entry* longestIdle(const std::function<bool(const Entry&)>& isMeant) const;
    const Entry* givingWayTo(const std::string& peer) const;
    std::optional<std::chrono::seconds> idleTime(const Entry& entry) const;
    void enter(const ClientConnection& connection, Phase phase);
    void closeIdle();
    void armIdleCheck();

    const std::shared_ptr<SerialQueue> queue_;
    Log& log_;
    const Limits limits_;
    const ClientConnection::Router router_;
    std::vector<Entry> entries_;
    std::size_t bytes_ = 0;

    struct IdleCheck {
        Time due;
        std::unique_ptr<DelayedTask> task;
    };
    std::optional<IdleCheck> idleCheck_;
    std::function<void()> whenEmpty_;
};

} // namespace korvane
