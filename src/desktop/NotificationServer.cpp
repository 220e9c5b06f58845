#include "desktop/NotificationServer.h"

#include <utility>

namespace korvane {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";

} // namespace

NotificationServer::NotificationServer(SessionBus& bus, Handlers handlers)
    : bus_(bus), handlers_(std::move(handlers)),
      owner_(bus, service, [this](const std::string& /*owner*/) { handlers_.onChange(); }),
      signals_(bus.subscribe({.sender = service, .path = object, .interface = service},
                             [this](const BusSignal& signal) { handle(signal); }))
{
}

void NotificationServer::call(const std::string& member, std::vector<BusValue> arguments,
                              SessionBus::ReplyHandler handler)
{
    bus_.call({.destination = service,
               .path = object,
               .interface = service,
               .member = member,
               .arguments = std::move(arguments)},
              std::move(handler));
}

void NotificationServer::handle(const BusSignal& signal) const
{
    // Any peer may send such a signal; those of the server alone are valid.
    const auto* id = busArgument<std::uint32_t>(signal.arguments, 0);
    if (signal.sender != owner_.owner() || id == nullptr) return;
    const auto* text = busArgument<std::string>(signal.arguments, 1);
    if (signal.member == "ActionInvoked" && text != nullptr) {
        handlers_.onAction(*id, *text);
    } else if (signal.member == "ActivationToken" && text != nullptr) {
        handlers_.onActivationToken(*id, *text);
    } else if (signal.member == "NotificationClosed") {
        if (const auto* reason = busArgument<std::uint32_t>(signal.arguments, 1)) {
            handlers_.onClosed(*id, *reason);
        }
    }
}

} // namespace korvane
