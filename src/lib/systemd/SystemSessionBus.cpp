#include "lib/systemd/SystemSessionBus.h"

#include "base/Files.h"
#include "event/SocketFileWatch.h"
#include "lib/systemd/BusAddress.h"
#include "lib/systemd/BusCoding.h"
#include "lib/systemd/BusConnection.h"

#include <chrono>
#include <utility>

namespace korvane {

namespace {

/** Tries by the clock, about two minutes of them, until only an event brings another. */
constexpr int maxAttempts = 8;

/** A connection that lived shorter does not count as a bus that works. */
constexpr std::chrono::seconds provingTime{30};

} // namespace

/** Takes part in the connection of the moment. */
class SystemSessionBus::Member : public Subscription {
public:
    explicit Member(SystemSessionBus& bus) : bus_(bus) { bus_.members_.insert(this); }
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;
    ~Member() override { bus_.members_.erase(this); }

    virtual void join(BusConnection& connection) = 0;
    virtual void leave() = 0;

protected:
    /** Called once the member is complete. */
    void joinIfConnected()
    {
        if (bus_.state_ == State::connected) join(*bus_.connection_);
    }

private:
    SystemSessionBus& bus_;
};

class SystemSessionBus::ObjectOffer final : public Member {
public:
    ObjectOffer(SystemSessionBus& bus, BusObject object) : Member(bus), object_(std::move(object))
    {
        joinIfConnected();
    }

    void join(BusConnection& connection) override { joined_ = connection.addObject(object_); }
    void leave() override { joined_.reset(); }

private:
    const BusObject object_;
    std::unique_ptr<ObjectExport> joined_;
};

class SystemSessionBus::SignalSubscription final : public Member {
public:
    SignalSubscription(SystemSessionBus& bus, BusMatch match, SignalHandler handler)
        : Member(bus), match_(std::move(match)),
          handler_(std::make_shared<SignalHandler>(std::move(handler)))
    {
        joinIfConnected();
    }

    void join(BusConnection& connection) override
    {
        joined_ = connection.addMatch(match_, handler_);
    }
    void leave() override { joined_.reset(); }

private:
    const BusMatch match_;
    const std::shared_ptr<SignalHandler> handler_;
    std::unique_ptr<BusConnection::Match> joined_;
};

class SystemSessionBus::StateWatch final : public Subscription {
public:
    explicit StateWatch(std::shared_ptr<StateHandler> handler) : handler_(std::move(handler)) {}

private:
    const std::shared_ptr<StateHandler> handler_;
};

SystemSessionBus::SystemSessionBus(std::string address, SerialQueue& queue)
    : address_(std::move(address)), queue_(queue), reason_(noSessionBus()), triesLeft_(maxAttempts)
{
}

SystemSessionBus::~SystemSessionBus() = default;

void SystemSessionBus::start()
{
    connect();
}

void SystemSessionBus::call(const BusCall& call, ReplyHandler handler)
{
    if (state_ == State::connected) {
        connection_->call(call, std::move(handler));
        return;
    }
    // A call is wanted: try again, if none is due anyway.
    if (state_ == State::absent && !nextTry_) tryLater();
    queue_.async([handler = std::move(handler), reason = reason_] { handler(failure(reason)); });
}

std::unique_ptr<Subscription> SystemSessionBus::subscribe(BusMatch match, SignalHandler handler)
{
    return std::make_unique<SignalSubscription>(*this, std::move(match), std::move(handler));
}

void SystemSessionBus::emit(const BusEmission& emission)
{
    if (state_ == State::connected) connection_->emit(emission);
}

std::unique_ptr<Subscription> SystemSessionBus::offer(BusObject object)
{
    return std::make_unique<ObjectOffer>(*this, std::move(object));
}

std::unique_ptr<Subscription> SystemSessionBus::watchState(StateHandler handler)
{
    auto shared = std::make_shared<StateHandler>(std::move(handler));
    std::erase_if(stateHandlers_, [](const auto& other) { return other.expired(); });
    stateHandlers_.push_back(shared);
    return std::make_unique<StateWatch>(std::move(shared));
}

void SystemSessionBus::connect()
{
    if (connection_) return;
    nextTry_.reset();
    auto connection = address_.empty()
                          ? failure(noSessionBus())
                          : BusConnection::open(
                                address_, queue_,
                                {.ready = [this] { connectionReady(); },
                                 .lost = [this](const BusError& error) { connectionLost(error); }});
    if (connection) {
        connection_ = std::move(*connection);
    } else {
        reason_ = connection.error();
        waitForBus();
    }
}

void SystemSessionBus::connectionReady()
{
    socketWatch_.reset();
    nextTry_.reset();
    readySince_ = queue_.now();
    for (Member* member : members_) member->join(*connection_);
    tell(State::connected);
}

void SystemSessionBus::connectionLost(const BusError& error)
{
    reason_ = error;
    for (Member* member : members_) member->leave();
    connection_.reset();
    if (state_ == State::connected && queue_.now() - readySince_ > provingTime) {
        triesLeft_ = maxAttempts;
        backoff_.reset();
    }
    waitForBus();
}

void SystemSessionBus::waitForBus()
{
    const std::filesystem::path socket = busSocket(address_);
    if (!socketWatch_ && !socket.empty()) {
        socketWatch_ = std::make_unique<SocketFileWatch>(socket, queue_, [this] { connect(); });
    }
    // Where there is no socket there is nothing to try: its file is watched for.
    const bool isWatched = !socket.empty() && !fileExists(socket);
    if (!isWatched && triesLeft_ > 0) {
        --triesLeft_;
        tryLater();
    }
    tell(State::absent);
}

void SystemSessionBus::tryLater()
{
    if (address_.empty()) return;
    nextTry_ = queue_.after(backoff_.advance(), [this] {
        nextTry_.reset();
        connect();
    });
}

void SystemSessionBus::tell(State state)
{
    if (state == state_) return;
    state_ = state;
    const auto handlers = stateHandlers_;
    for (const auto& weak : handlers) {
        if (const auto handler = weak.lock()) (*handler)(state);
    }
}

} // namespace korvane
