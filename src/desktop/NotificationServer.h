#pragma once

#include "lib/systemd/BusNameWatch.h"
#include "lib/systemd/SessionBus.h"

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
        /** Another server, or none: the IDs of the earlier one are invalid. */
        std::function<void()> onChange;
        /** Comes before the action that the token is for. */
        std::function<void(std::uint32_t id, const std::string& token)> onActivationToken;
        std::function<void(std::uint32_t id, const std::string& key)> onAction;
        std::function<void(std::uint32_t id, std::uint32_t reason)> onClosed;
    };

    /** The bus outlives the server; the handlers are called on its queue. */
    NotificationServer(SessionBus& bus, Handlers handlers);

    /** Whether there is a server. */
    bool isPresent() const { return !owner_.owner().empty(); }

    /** Calls a method; the service is started if need be. */
    void call(const std::string& member, std::vector<BusValue> arguments,
              SessionBus::ReplyHandler handler);

private:
    void handle(const BusSignal& signal) const;

    SessionBus& bus_;
    const Handlers handlers_;
    BusNameWatch owner_;
    std::unique_ptr<Subscription> signals_;
};

} // namespace korvane
