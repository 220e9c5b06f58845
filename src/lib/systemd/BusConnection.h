#pragma once

#include "base/FileDescriptor.h"
#include "base/Lifetime.h"
#include "base/Result.h"
#include "event/Queue.h"
#include "lib/systemd/BusCoding.h"
#include "lib/systemd/ObjectExport.h"
#include "lib/systemd/SessionBus.h"

#include <chrono>
#include <cstdint>
#include <functional>
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

    struct Events {
        /** The bus has greeted us; calls and matches may be made. */
        std::function<void()> ready;
        /** The connection could not be made or is gone, and may be destroyed here. Calls under way
         *  have failed before. */
        std::function<void(const BusError&)> lost;
    };

    /** Connects to the first of the addresses that can be connected to. */
    static Result<std::unique_ptr<BusConnection>, BusError> open(const std::string& addresses,
                                                                 SerialQueue& queue, Events events);

    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    /** The handler is called later, and not at all once the connection is destroyed. */
    void call(const BusCall& call, ReplyHandler handler);

    /** The handler is called for as long as the result and the handler live. */
    std::unique_ptr<Match> addMatch(const BusMatch& match,
                                    const std::shared_ptr<SignalHandler>& handler);

    /** The object, which outlives the result, is offered for as long as the result lives. */
    std::unique_ptr<ObjectExport> addObject(const BusObject& object);

    /** One that cannot be sent is dropped. */
    void emit(const BusEmission& emission);

private:
    struct PendingCall;

    BusConnection(BusHandle bus, SerialQueue& queue, Events events);

    void process();
    void deliver();
    void failCalls(const BusError& error);
    void failLater(ReplyHandler handler, BusError error);
    void prepare();
    void prepareTimer();
    std::optional<std::chrono::steady_clock::time_point> dueTime() const;

    SerialQueue& queue_;
    const Events events_;
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
    Lifetime lifetime_;
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
