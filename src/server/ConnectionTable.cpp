#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace korvane {

ConnectionTable::ConnectionTable(std::shared_ptr<SerialQueue> queue, Log& log, Limits limits,
                                 ClientConnection::Router router)
    : queue_(std::move(queue)), log_(log), limits_(limits), router_(std::move(router))
{
}

void ConnectionTable::accept(std::shared_ptr<TCPConnection> connection)
{
    const std::string peer = connection->peerAddress();
    bool hasRoom = true;
    while (hasRoom && entries_.size() >= limits_.connections) {
        hasRoom = makeRoom(peer, fmt::format("{} are open", entries_.size()));
    }
    const auto client = std::make_shared<ClientConnection>(std::move(connection), *this, log_);
    entries_.push_back({.connection = client, .peer = peer, .lastActive = queue_->now()});
    armIdleCheck();
    if (hasRoom) {
        client->start();
    } else {
        log_.error(
            fmt::format("IPPServer: refusing a connection: {} are open", entries_.size() - 1));
        client->refuseForNow();
    }
}

bool ConnectionTable::makeRoom(const std::string& peer, std::string_view reason)
{
    const Entry* entry = givingWayTo(peer);
    if (entry == nullptr) return false;
    if (entry->phase != Phase::lingering) {
        log_.error(fmt::format("IPPServer: closing least recently active connection: {}", reason));
    }
    entry->connection->close();
    return true;
}

const ConnectionTable::Entry* ConnectionTable::givingWayTo(const std::string& peer) const
{
    for (const Phase phase : {Phase::lingering, Phase::head}) {
        const Entry* entry = longestIdle([&](const Entry& each) { return each.phase == phase; });
        if (entry != nullptr) return entry;
    }
    std::map<std::string, std::size_t> connections{{peer, 1}};
    std::size_t most = 1;
    for (const Entry& entry : entries_) most = std::max(most, ++connections[entry.peer]);
    const bool isOwn = connections[peer] == most;
    return longestIdle([&](const Entry& each) {
        const bool isOfThatPeer = isOwn ? each.peer == peer : connections[each.peer] == most;
        return isOfThatPeer && each.phase == Phase::body;
    });
}

void ConnectionTable::whenEmpty(std::function<void()> handler)
{
    if (entries_.empty()) {
        handler();
    } else {
        whenEmpty_ = std::move(handler);
    }
}

void ConnectionTable::recordActivity(const ClientConnection& connection)
{
    if (Entry* entry = find(connection)) entry->lastActive = queue_->now();
}

void ConnectionTable::beginBody(const ClientConnection& connection)
{
    enter(connection, Phase::body);
}

void ConnectionTable::beginAnswering(const ClientConnection& connection)
{
    enter(connection, Phase::answering);
}

void ConnectionTable::beginLingering(const ClientConnection& connection)
{
    recordActivity(connection);
    charge(connection, 0);
    enter(connection, Phase::lingering);
    armIdleCheck();
}

void ConnectionTable::enter(const ClientConnection& connection, Phase phase)
{
    if (Entry* entry = find(connection)) entry->phase = phase;
}

bool ConnectionTable::charge(const ClientConnection& connection, std::size_t bytes)
{
    Entry* entry = find(connection);
    if (entry == nullptr) return false;
    bytes_ += bytes - std::exchange(entry->bytes, bytes);
    return bytes <= limits_.smallRequest || bytes_ <= limits_.memory;
}

void ConnectionTable::forget(const ClientConnection& connection)
{
    Entry* entry = find(connection);
    if (entry == nullptr) return;
    bytes_ -= entry->bytes;
    // The connection may be running this very call.
    queue_->async([dropped = std::move(entry->connection)] {});
    *entry = std::move(entries_.back());
    entries_.pop_back();
    if (entries_.empty() && whenEmpty_) std::exchange(whenEmpty_, nullptr)();
}

ConnectionTable::Entry* ConnectionTable::find(const ClientConnection& connection)
{
    const auto entry = std::ranges::find_if(entries_, [&](const Entry& candidate) {
        return candidate.connection.get() == &connection;
    });
    return entry == entries_.end() ? nullptr : &*entry;
}

const ConnectionTable::Entry*
ConnectionTable::longestIdle(const std::function<bool(const Entry&)>& isMeant) const
{
    const Entry* longest = nullptr;
    for (const Entry& entry : entries_) {
        if (isMeant(entry) && (longest == nullptr || entry.lastActive < longest->lastActive))
            longest = &entry;
    }
    return longest;
}

std::optional<std::chrono::seconds> ConnectionTable::idleTime(const Entry& entry) const
{
    switch (entry.phase) {
    case Phase::lingering: return limits_.lingerTime;
    case Phase::head: return limits_.headTime;
    case Phase::body: return limits_.bodyTime;
    case Phase::answering: break;
    }
    return {};
}

void ConnectionTable::armIdleCheck()
{
    std::optional<Time> due;
    for (const Entry& entry : entries_) {
        const auto time = idleTime(entry);
        if (time && (!due || entry.lastActive + *time < *due)) due = entry.lastActive + *time;
    }
    if (!due || (idleCheck_ && idleCheck_->due <= *due)) return;
    idleCheck_ = IdleCheck{*due, queue_->after(*due - queue_->now(), [this] { closeIdle(); })};
}

void ConnectionTable::closeIdle()
{
    idleCheck_.reset();
    for (;;) {
        const Entry* idle = longestIdle([&](const Entry& entry) {
            const auto time = idleTime(entry);
            return time && entry.lastActive + *time <= queue_->now();
        });
        if (idle == nullptr) break;
        if (idle->phase != Phase::lingering) {
            log_.error(fmt::format("IPPServer: closing a connection: idle for {} s",
                                   idleTime(*idle)->count()));
        }
        idle->connection->close();
    }
    armIdleCheck();
}

} // namespace korvane
