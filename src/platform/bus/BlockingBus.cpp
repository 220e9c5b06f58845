#include "platform/bus/BlockingBus.h"

#include "platform/bus/BusAddress.h"
#include "platform/bus/BusCoding.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace korvane {

namespace {

constexpr std::chrono::seconds connectionTime{5};

class ConnectedBlockingBus final : public BlockingBus {
public:
    explicit ConnectedBlockingBus(BusHandle bus) : bus_(std::move(bus)) {}

    BusReply call(const BusCall& call) override
    {
        const auto message = encode(*bus_, call);
        if (!message) return failure(message.error());
        sd_bus_error error{};
        sd_bus_message* answer = nullptr;
        const int result = ::sd_bus_call(
            bus_.get(), message->get(),
            static_cast<std::uint64_t>(std::chrono::microseconds(call.timeout).count()), &error,
            &answer);
        const BusMessageHandle reply(answer);
        if (result >= 0) return decodeReply(*answer);
        BusError failed = busError(result);
        if (error.name != nullptr) failed.name = error.name;
        if (error.message != nullptr) failed.message = error.message;
        ::sd_bus_error_free(&error);
        return failure(std::move(failed));
    }

private:
    BusHandle bus_;
};

/** Waits until the bus has greeted us. */
Result<void, BusError> waitForGreeting(sd_bus& bus)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + connectionTime;
    while (::sd_bus_is_ready(&bus) <= 0) {
        int result = ::sd_bus_process(&bus, nullptr);
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - steady_clock::now());
        if (result >= 0 && left.count() <= 0) result = -ETIMEDOUT;
        if (result == 0) result = ::sd_bus_wait(&bus, static_cast<std::uint64_t>(left.count()));
        if (result < 0) return failure(busError(result));
    }
    return {};
}

} // namespace

Result<std::unique_ptr<BlockingBus>, BusError> openBlockingSessionBus()
{
    BusError latest = noSessionBus();
    for (const std::string& address : busAddresses(sessionBusAddress())) {
        auto bus = openBus(address);
        if (bus) {
            const auto greeted = waitForGreeting(**bus);
            if (greeted) return std::make_unique<ConnectedBlockingBus>(std::move(*bus));
            latest = greeted.error();
        } else {
            latest = bus.error();
        }
    }
    return failure(latest);
}

} // namespace korvane
