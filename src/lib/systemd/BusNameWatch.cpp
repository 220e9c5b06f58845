#include "lib/systemd/BusNameWatch.h"

#include <utility>

namespace korvane {

namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* noReply = "org.freedesktop.DBus.Error.NoReply";

} // namespace

BusNameWatch::BusNameWatch(SessionBus& bus, std::string name, OwnerHandler onChange)
    : bus_(bus), name_(std::move(name)), onChange_(std::move(onChange)),
      changes_(bus.subscribe({.sender = busName,
                              .path = "/org/freedesktop/DBus",
                              .interface = busName,
                              .member = "NameOwnerChanged",
                              .firstArgument = name_},
                             [this](const BusSignal& signal) {
                                 const auto* owner = busArgument<std::string>(signal.arguments, 2);
                                 // Only the bus itself can send under this name.
                                 if (signal.sender != busName || owner == nullptr) return;
                                 isTold_ = true;
                                 setOwner(*owner);
                             })),
      state_(bus.watchState([this](SessionBus::State state) {
          if (state == SessionBus::State::connected) {
              askForOwner();
          } else {
              setOwner({});
          }
      }))
{
    if (bus.state() == SessionBus::State::connected) askForOwner();
}

void BusNameWatch::askForOwner()
{
    isTold_ = false;
    bus_.call({.destination = busName,
               .path = "/org/freedesktop/DBus",
               .interface = busName,
               .member = "GetNameOwner",
               .arguments = {name_}},
              lifetime_.guard([this](const BusReply& reply) {
                  if (isTold_) return;
                  if (!reply) {
                      // A bus that is busy is asked again; else there is no owner.
                      if (reply.error().name == noReply) askForOwner();
                      return;
                  }
                  if (const auto* owner = busArgument<std::string>(*reply, 0)) setOwner(*owner);
              }));
}

void BusNameWatch::setOwner(const std::string& owner)
{
    if (owner == owner_) return;
    owner_ = owner;
    onChange_(owner);
}

} // namespace korvane
