#include "server/ConnectionTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace korvane {

ConnectionTable::ConnectionTable(SerialQueue& queue, Log& log, const HeldBytes& held, Limits limits)
    : queue_(queue), log_(log), held_(held), limits_(limits)
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
        entry->hasSpoken = true;
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
    heldBytes_ += bytes - std::exchange(entry->heldBytes, bytes);
    while (heldBytes_ + held_.total() > limits_.heldBytes) {
        const Entry* most = holdingMost();
        if (most == nullptr) return true;
        if (most->connection.get() == &connection) return false;
        log_.error(fmt::format("IPPServer: closing the connection that holds most, {} bytes: too "
                               "much is being received",
                               most->heldBytes));
        most->connection->close();
    }
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
        if (oldest == nullptr || std::tie(entry.hasSpoken, entry.lastHeard) <
                                     std::tie(oldest->hasSpoken, oldest->lastHeard)) {
            oldest = &entry;
        }
    }
    return oldest;
}

const ConnectionTable::Entry* ConnectionTable::holdingMost() const
{
    const auto most = std::ranges::max_element(entries_, {}, &Entry::heldBytes);
    return most == entries_.end() || most->heldBytes <= limits_.alwaysHeld ? nullptr : &*most;
}

void ConnectionTable::armSilenceCheck()
{
    if (silenceCheck_ || entries_.empty()) return;
    auto earliest = queue_.now();
    for (const Entry& entry : entries_) {
        if (!entry.waitsForUs) earliest = std::min(earliest, entry.lastHeard);
    }
    silenceCheck_ =
        queue_.after(earliest + limits_.silence - queue_.now(), [this] { closeSilent(); });
}

void ConnectionTable::closeSilent()
{
    silenceCheck_.reset();
    const auto latest = queue_.now() - limits_.silence;
    for (;;) {
        const auto silent = std::ranges::find_if(entries_, [&](const Entry& entry) {
            return !entry.waitsForUs && entry.lastHeard <= latest;
        });
        if (silent == entries_.end()) break;
        log_.error(fmt::format("IPPServer: closing a connection: nothing came for {} s",
                               limits_.silence.count()));
        silent->connection->close();
    }
    armSilenceCheck();
}

} // namespace korvane
