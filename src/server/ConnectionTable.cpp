#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

ConnectionTable::ConnectionTable(SerialQueue& queue, Log& log, Limits limits)
    : queue_(queue), log_(log), limits_(limits)
{
}

bool ConnectionTable::admit(const std::shared_ptr<ClientConnection>& connection)
{
    if (entries_.size() >= limits_.connections &&
        !closeMostSilent(fmt::format("{} are open", entries_.size()))) {
        log_.error(fmt::format("IPPServer: refusing a connection: {} are waiting for an answer",
                               entries_.size()));
        return false;
    }
    entries_.push_back({.connection = connection, .lastHeard = queue_.now()});
    armSilenceCheck();
    return true;
}

bool ConnectionTable::closeMostSilent(std::string_view reason)
{
    const Entry* entry = mostSilent();
    if (entry == nullptr) return false;
    log_.error(fmt::format("IPPServer: closing the connection silent longest: {}", reason));
    entry->connection->close();
    return true;
}

void ConnectionTable::heardFrom(const ClientConnection& connection)
{
    if (Entry* entry = find(connection)) {
        entry->lastHeard = queue_.now();
        entry->waitsForUs = false;
    }
}

void ConnectionTable::waitForUs(const ClientConnection& connection)
{
    if (Entry* entry = find(connection)) entry->waitsForUs = true;
}

bool ConnectionTable::hold(const ClientConnection& connection, std::size_t bytes)
{
    Entry* entry = find(connection);
    if (entry == nullptr) return false;
    const std::size_t others = heldBytes_ - entry->heldBytes;
    if (bytes > limits_.alwaysHeld && others + bytes + heldElsewhere_ > limits_.heldBytes) {
        return false;
    }
    entry->heldBytes = bytes;
    heldBytes_ = others + bytes;
    return true;
}

void ConnectionTable::forget(const ClientConnection& connection)
{
    Entry* entry = find(connection);
    if (entry == nullptr) return;
    heldBytes_ -= entry->heldBytes;
    // The connection may be running this very call, and it may be what keeps the server alive.
    queue_.async([dropped = std::move(entry->connection)] {});
    *entry = std::move(entries_.back());
    entries_.pop_back();
}

ConnectionTable::Entry* ConnectionTable::find(const ClientConnection& connection)
{
    const auto entry = std::ranges::find_if(entries_, [&](const Entry& candidate) {
        return candidate.connection.get() == &connection;
    });
    return entry == entries_.end() ? nullptr : &*entry;
}

const ConnectionTable::Entry* ConnectionTable::mostSilent() const
{
    const Entry* oldest = nullptr;
    for (const Entry& entry : entries_) {
        if (entry.waitsForUs) continue;
        if (oldest == nullptr || entry.lastHeard < oldest->lastHeard) oldest = &entry;
    }
    return oldest;
}

void ConnectionTable::armSilenceCheck()
{
    if (silenceCheck_ || entries_.empty()) return;
    const Entry* entry = mostSilent();
    const auto since = entry == nullptr ? queue_.now() : entry->lastHeard;
    silenceCheck_ = queue_.after(since + limits_.silence - queue_.now(), [this] { closeSilent(); });
}

void ConnectionTable::closeSilent()
{
    silenceCheck_.reset();
    for (const Entry* entry = mostSilent();
         entry != nullptr && queue_.now() - entry->lastHeard >= limits_.silence;
         entry = mostSilent()) {
        log_.error(fmt::format("IPPServer: closing a connection: nothing came for {} s",
                               limits_.silence.count()));
        entry->connection->close();
    }
    armSilenceCheck();
}

} // namespace korvane
