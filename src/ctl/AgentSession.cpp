#include "ctl/AgentSession.h"

#include "config/SettingsSignal.h"
#include "lib/systemd/BusAddress.h"

#include <chrono>
#include <future>

namespace korvane {

namespace {

constexpr std::chrono::seconds connectingTime{2};

} // namespace

AgentSession::AgentSession(Log& log)
    : queues_(log), queue_(queues_.makeSerial("session.bus")),
      bus_(std::make_unique<SystemSessionBus>(sessionBusAddress(), *queue_)),
      blocking_(*bus_, *queue_), agent_(blocking_)
{
    connect();
}

AgentSession::~AgentSession()
{
    queue_->sync([this] { bus_.reset(); });
}

void AgentSession::connect()
{
    using State = SessionBus::State;
    std::promise<void> known;
    std::unique_ptr<Subscription> watch;
    queue_->sync([&] {
        watch = bus_->watchState([&known, isTold = false](State /*state*/) mutable {
            if (!std::exchange(isTold, true)) known.set_value();
        });
        bus_->start();
    });
    known.get_future().wait_for(connectingTime);
    queue_->sync([&watch] { watch.reset(); });
}

bool AgentSession::postSettingsChanged()
{
    queue_->sync([this] { bus_->emit(settingsSignalEmission()); });
    // The bus answers in order: it has the signal once it has answered this.
    return blocking_
        .call({.destination = "org.freedesktop.DBus",
               .path = "/org/freedesktop/DBus",
               .interface = "org.freedesktop.DBus",
               .member = "GetId"})
        .has_value();
}

} // namespace korvane
