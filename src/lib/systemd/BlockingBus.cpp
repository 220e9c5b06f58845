#include "lib/systemd/BlockingBus.h"

#include <memory>
#include <optional>

namespace korvane {

namespace {

constexpr const char* disconnected = "org.freedesktop.DBus.Error.Disconnected";
constexpr const char* noReply = "org.freedesktop.DBus.Error.NoReply";

/** Beside the call's own time-out, which the bus keeps: for the queue to hand it over. */
constexpr std::chrono::seconds queueTime{2};

} // namespace

BusReply BlockingSessionBus::call(const BusCall& call)
{
    const auto reply = std::make_shared<std::optional<BusReply>>();
    queue_.async([this, call, reply] {
        bus_.call(call, [this, reply](const BusReply& arrived) {
            const std::scoped_lock lock(mutex_);
            *reply = arrived;
            changed_.notify_all();
        });
    });
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, call.timeout + queueTime,
                      [&] { return isStopped_ || reply->has_value(); });
    if (*reply) return **reply;
    if (isStopped_) return failure(BusError{disconnected, "agent shutting down"});
    return failure(BusError{noReply, "the call was dropped"});
}

bool BlockingSessionBus::pause(std::chrono::milliseconds delay)
{
    std::unique_lock lock(mutex_);
    return !changed_.wait_for(lock, delay, [this] { return isStopped_; });
}

void BlockingSessionBus::stop()
{
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
    changed_.notify_all();
}

} // namespace korvane
