#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace korvane {

ConnectionTable::ConnectionTable(std::shared_ptr<SerialQueue> queue, Log& log,
                                 MemoryQuota documents, Limits limits,
                                 ClientConnection::Router router)
    : queue_(std::move(queue)), log_(log), documents_(std::move(documents)), limits_(limits),
      router_(std::move(router))
{
}

void ConnectionTable::accept(std::shared_ptr<TCPConnection> connection)
{
    if (entries_.size() >= limits_.connections &&
        !closeLeastRecentlyActive(fmt::format("{} are open", entries_.size()))) {
        log_.error(fmt::format("IPPServer: refusing a connection: {} are waiting for an answer",
                               entries_.size()));
        return;
    }
    const auto client = std::make_shared<ClientConnection>(std::move(connection), *this, log_);
    entries_.push_back({.connection = client, .lastActive = queue_->now()});
    armIdleCheck();
    client->read();
}

bool ConnectionTable::closeLeastRecentlyActive(std::string_view reason)
{
    const Entry* entry = leastRecentlyActive();
    if (entry == nullptr) return false;
    log_.error(fmt::format("IPPServer: closing least recently active connection: {}", reason));
    entry->connection->close();
    return true;
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
    if (Entry* entry = find(connection)) {
        entry->lastActive = queue_->now();
        entry->phase = Phase::receiving;
    }
}

void ConnectionTable::beginAnswering(const ClientConnection& connection)
{
    charge(connection, 0);
    if (Entry* entry = find(connection)) entry->phase = Phase::answering;
}

bool ConnectionTable::charge(const ClientConnection& connection, std::size_t bytes)
{
    Entry* entry = find(connection);
    if (entry == nullptr) return false;
    bytes_ += bytes - std::exchange(entry->bytes, bytes);
    while (bytes_ + documents_.total() > limits_.memory) {
        const Entry* most = largest();
        if (most == nullptr) return true;
        if (most->connection.get() == &connection) return false;
        log_.error(fmt::format("IPPServer: closing connection with {} bytes: memory quota exceeded",
                               most->bytes));
        most->connection->close();
    }
    return true;
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

const ConnectionTable::Entry* ConnectionTable::leastRecentlyActive() const
{
    const auto least = std::ranges::min_element(
        entries_, {}, [](const Entry& entry) { return std::tuple(entry.phase, entry.lastActive); });
    return least == entries_.end() || least->phase == Phase::answering ? nullptr : &*least;
}

const ConnectionTable::Entry* ConnectionTable::largest() const
{
    const auto most = std::ranges::max_element(entries_, {}, &Entry::bytes);
    return most == entries_.end() || most->bytes <= limits_.smallRequest ? nullptr : &*most;
}

void ConnectionTable::armIdleCheck()
{
    if (idleCheck_ || entries_.empty()) return;
    auto earliest = queue_->now();
    for (const Entry& entry : entries_) {
        if (entry.phase != Phase::answering) earliest = std::min(earliest, entry.lastActive);
    }
    idleCheck_ =
        queue_->after(earliest + limits_.idleTime - queue_->now(), [this] { closeIdle(); });
}

void ConnectionTable::closeIdle()
{
    idleCheck_.reset();
    const auto latest = queue_->now() - limits_.idleTime;
    for (;;) {
        const auto idle = std::ranges::find_if(entries_, [&](const Entry& entry) {
            return entry.phase != Phase::answering && entry.lastActive <= latest;
        });
        if (idle == entries_.end()) break;
        log_.error(fmt::format("IPPServer: closing a connection: idle for {} s",
                               limits_.idleTime.count()));
        idle->connection->close();
    }
    armIdleCheck();
}

} // namespace korvane
