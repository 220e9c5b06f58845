#pragma once

#include "platform/bus/BusNameWatch.h"
#include "platform/bus/SessionBus.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** The service org.freedesktop.Notifications as it is on the bus: its calls and its signals. */
class NotificationServer {
public:
    struct Handlers {
        /** Another server, or none: the numbers of the earlier one mean nothing any more. */
        std::function<void()> onChange;
        std::function<void(std::uint32_t number, const std::string& key)> onAction;
        std::function<void(std::uint32_t number, std::uint32_t reason)> onClosed;
    };

    /** The bus outlives the server, and the queue of the bus is where all happens. */
    NotificationServer(SessionBus& bus, Handlers handlers);

    /** Calls a method; the service is started if need be. */
    void call(const std::string& member, std::vector<BusValue> arguments,
              SessionBus::ReplyHandler handler);

private:
    void handle(const BusSignal& signal) const;

    SessionBus& bus_;
    const Handlers handlers_;
    BusNameWatch owner_;
    std::unique_ptr<BusSubscription> signals_;
};

} // namespace korvane
