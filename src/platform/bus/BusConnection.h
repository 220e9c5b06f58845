#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/base/Result.h"
#include "platform/bus/BusConnectionObserver.h"
#include "platform/bus/BusHandles.h"
#include "platform/bus/SessionBus.h"
#include "platform/queue/Queue.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace korvane {

/** One connection to one bus, served by a queue without ever waiting. */
class BusConnection {
public:
    using ReplyHandler = SessionBus::ReplyHandler;
    using SignalHandler = SessionBus::SignalHandler;

    /** A match on the connection; destroying it takes it back. */
    class Match;

    /** The observer outlives the connection. */
    static Result<std::unique_ptr<BusConnection>, BusError>
    open(const std::string& address, SerialQueue& queue, BusConnectionObserver& observer);

    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    /** The handler is called later, and not at all once the connection is destroyed. */
    void call(const BusCall& call, ReplyHandler handler);

    /** The handler is called for as long as the result and the handler live. */
    std::unique_ptr<Match> addMatch(const BusMatch& match,
                                    const std::shared_ptr<SignalHandler>& handler);

private:
    struct PendingCall;

    BusConnection(BusHandle bus, SerialQueue& queue, BusConnectionObserver& observer);

    void process();
    void deliver();
    void failCalls(const BusError& error);
    void failLater(ReplyHandler handler, BusError error);
    void prepare();
    void prepareTimer();
    std::optional<std::chrono::steady_clock::time_point> dueTime() const;

    SerialQueue& queue_;
    BusConnectionObserver& observer_;
    BusHandle bus_;
    /** Of our own, so that it stays open for as long as it is watched. */
    FileDescriptor descriptor_;
    std::unique_ptr<DescriptorWatch> watch_;
    std::unique_ptr<DelayedTask> timer_;
    std::optional<std::chrono::steady_clock::time_point> timerDue_;
    bool reading_ = false;
    bool writing_ = false;
    bool isReady_ = false;
    std::unordered_map<const PendingCall*, std::unique_ptr<PendingCall>> calls_;
    /** What the message being processed has brought; run once the library has returned. */
    std::vector<Task> deliveries_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

class BusConnection::Match {
public:
    Match(BusConnection& connection, std::weak_ptr<SignalHandler> handler)
        : connection_(connection), handler_(std::move(handler))
    {
    }

private:
    friend class BusConnection;
    static int handle(sd_bus_message* message, void* match, sd_bus_error* error);
    static int ignore(sd_bus_message* message, void* match, sd_bus_error* error);

    BusConnection& connection_;
    std::weak_ptr<SignalHandler> handler_;
    BusSlotHandle slot_;
};

} // namespace korvane
