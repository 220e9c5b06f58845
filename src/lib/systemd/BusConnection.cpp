#include "lib/systemd/BusConnection.h"

#include "lib/systemd/BusCoding.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

/** Calls that wait for a reply at one time; a peer that never replies holds no more than these, and
 *  each only for its time-out. */
constexpr std::size_t maxCalls = 128;

/** Messages handled before the queue's other tasks have their turn. */
constexpr int maxMessagesPerTurn = 32;

} // namespace

struct BusConnection::PendingCall {
    BusConnection& connection;
    ReplyHandler handler;
    BusSlotHandle slot;

    static int handle(sd_bus_message* message, void* pending, sd_bus_error* error);
};

int BusConnection::PendingCall::handle(sd_bus_message* message, void* pending,
                                       sd_bus_error* /*error*/)
{
    auto& self = *static_cast<PendingCall*>(pending);
    BusConnection& connection = self.connection;
    // Nothing may be thrown through the library.
    try {
        connection.deliveries_.emplace_back(
            [handler = std::move(self.handler), reply = decodeReply(*message)] { handler(reply); });
    } catch (const std::exception&) {
        return 0; // no memory for the reply: go on without it
    }
    connection.calls_.erase(&self);
    return 0;
}

int BusConnection::Match::handle(sd_bus_message* message, void* match, sd_bus_error* /*error*/)
{
    const auto& self = *static_cast<Match*>(match);
    try {
        self.connection_.deliveries_.emplace_back(
            [weak = self.handler_, signal = decodeSignal(*message)] {
                if (const auto handler = weak.lock()) (*handler)(signal);
            });
    } catch (const std::exception&) {
        return 0; // no memory for the signal: go on without it
    }
    return 0;
}

int BusConnection::Match::ignore(sd_bus_message* /*message*/, void* /*match*/,
                                 sd_bus_error* /*error*/)
{
    return 1; // a match that the bus refuses costs its signals, not the connection
}

Result<std::unique_ptr<BusConnection>, BusError>
BusConnection::open(const std::string& addresses, SerialQueue& queue, Events events)
{
    auto bus = openBus(addresses);
    if (!bus) return failure(bus.error());
    return std::unique_ptr<BusConnection>(
        new BusConnection(std::move(*bus), queue, std::move(events)));
}

BusConnection::BusConnection(BusHandle bus, SerialQueue& queue, Events events)
    : queue_(queue), events_(std::move(events)), bus_(std::move(bus)),
      descriptor_(::fcntl(::sd_bus_get_fd(bus_.get()), F_DUPFD_CLOEXEC, 0)),
      watch_(queue.watch(descriptor_.get()))
{
    prepare();
}

BusConnection::~BusConnection() = default;

void BusConnection::call(const BusCall& call, ReplyHandler handler)
{
    if (calls_.size() >= maxCalls) {
        failLater(std::move(handler),
                  {.name = SD_BUS_ERROR_LIMITS_EXCEEDED, .message = "Too many calls under way"});
        return;
    }
    const auto message = encode(*bus_, call);
    if (!message) {
        failLater(std::move(handler), message.error());
        return;
    }
    auto pending = std::make_unique<PendingCall>(PendingCall{*this, std::move(handler), nullptr});
    sd_bus_slot* slot = nullptr;
    const int result = ::sd_bus_call_async(
        bus_.get(), &slot, message->get(), PendingCall::handle, pending.get(),
        static_cast<std::uint64_t>(std::chrono::microseconds(call.timeout).count()));
    if (result < 0) {
        failLater(std::move(pending->handler), busError(result));
        return;
    }
    pending->slot.reset(slot);
    const PendingCall* key = pending.get();
    calls_.emplace(key, std::move(pending));
    prepare();
}

std::unique_ptr<BusConnection::Match>
BusConnection::addMatch(const BusMatch& match, const std::shared_ptr<SignalHandler>& handler)
{
    auto added = std::make_unique<Match>(*this, handler);
    sd_bus_slot* slot = nullptr;
    ::sd_bus_add_match_async(bus_.get(), &slot, matchRule(match).c_str(), Match::handle,
                             Match::ignore, added.get());
    added->slot_.reset(slot);
    prepare();
    return added;
}

std::unique_ptr<ObjectExport> BusConnection::addObject(const BusObject& object)
{
    auto added = std::make_unique<ObjectExport>(*bus_, object);
    prepare();
    return added;
}

void BusConnection::emit(const BusEmission& emission)
{
    if (const auto message = encode(*bus_, emission)) ::sd_bus_message_send(message->get());
    prepare();
}

void BusConnection::process()
{
    for (int turn = 0; turn < maxMessagesPerTurn; ++turn) {
        const int result = ::sd_bus_process(bus_.get(), nullptr);
        if (result < 0) {
            watch_.reset();
            timer_.reset();
            const BusError error = disconnection(result);
            failCalls(error);
            deliver();
            const auto lost = events_.lost; // which destroys this
            return lost(error);
        }
        if (!isReady_ && ::sd_bus_is_ready(bus_.get()) > 0) {
            isReady_ = true;
            events_.ready();
        }
        deliver();
        if (result == 0) break;
    }
    prepare();
}

void BusConnection::deliver()
{
    for (const Task& delivery : std::exchange(deliveries_, {})) delivery();
}

void BusConnection::failCalls(const BusError& error)
{
    for (auto& [key, pending] : std::exchange(calls_, {})) {
        deliveries_.emplace_back(
            [handler = std::move(pending->handler), error] { handler(failure(error)); });
    }
}

void BusConnection::failLater(ReplyHandler handler, BusError error)
{
    queue_.async(lifetime_.guard(
        [handler = std::move(handler), error = std::move(error)] { handler(failure(error)); }));
}

/** Asks the queue for what the library waits for. */
void BusConnection::prepare()
{
    if (!watch_) return;
    const int events = ::sd_bus_get_events(bus_.get());
    if (events > 0 && (events & POLLIN) != 0 && !std::exchange(reading_, true)) {
        watch_->whenReadable([this] {
            reading_ = false;
            process();
        });
    }
    if (events > 0 && (events & POLLOUT) != 0 && !std::exchange(writing_, true)) {
        watch_->whenWritable([this] {
            writing_ = false;
            process();
        });
    }
    prepareTimer();
}

void BusConnection::prepareTimer()
{
    const auto due = dueTime();
    if (due == timerDue_) return;
    timerDue_ = due;
    timer_.reset();
    if (!due) return;
    const auto delay = std::max(*due - queue_.now(), std::chrono::steady_clock::duration::zero());
    timer_ = queue_.after(delay, [this] {
        timerDue_.reset();
        process();
    });
}

/** When the library wants to be called at the latest; its clock is CLOCK_MONOTONIC, as is ours. */
std::optional<std::chrono::steady_clock::time_point> BusConnection::dueTime() const
{
    std::uint64_t microseconds = UINT64_MAX;
    // A connection that has failed says so when it is processed.
    if (::sd_bus_get_timeout(bus_.get(), &microseconds) < 0) microseconds = 0;
    if (microseconds == UINT64_MAX) return {};
    return std::chrono::steady_clock::time_point(std::chrono::microseconds(microseconds));
}

} // namespace korvane
