#pragma once

#include "event/Backoff.h"
#include "event/Queue.h"
#include "lib/systemd/SessionBus.h"

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace korvane {

class BusConnection;
class SocketFileWatch;

/**
 * The bus at an address. Where it is absent its socket file is waited for; beside that it
 * is looked for a few times with growing delays, and again whenever something is to be called.
 */
class SystemSessionBus final : public SessionBus {
public:
    /** Without an address there is no bus, ever. */
    SystemSessionBus(std::string address, SerialQueue& queue);
    ~SystemSessionBus() override;
    SystemSessionBus(const SystemSessionBus&) = delete;
    SystemSessionBus& operator=(const SystemSessionBus&) = delete;

    /** Begins to connect. On the queue. */
    void start();

    State state() const override { return state_; }
    void call(const BusCall& call, ReplyHandler handler) override;
    std::unique_ptr<Subscription> subscribe(BusMatch match, SignalHandler handler) override;
    void emit(const BusEmission& emission) override;
    std::unique_ptr<Subscription> offer(BusObject object) override;
    std::unique_ptr<Subscription> watchState(StateHandler handler) override;

private:
    class Member;
    class SignalSubscription;
    class ObjectOffer;
    class StateWatch;

    void connect();
    void connectionReady();
    void connectionLost(const BusError& error);
    void waitForBus();
    void tryLater();
    void tell(State state);

    const std::string address_;
    SerialQueue& queue_;
    State state_ = State::connecting;
    /** Why the bus is absent. */
    BusError reason_;
    std::unique_ptr<BusConnection> connection_;
    /** What joins each connection. */
    std::set<Member*> members_;
    std::vector<std::weak_ptr<StateHandler>> stateHandlers_;

    std::unique_ptr<SocketFileWatch> socketWatch_;
    std::unique_ptr<DelayedTask> nextTry_;
    Backoff backoff_;
    int triesLeft_;
    std::chrono::steady_clock::time_point readySince_{};
};

} // namespace korvane
