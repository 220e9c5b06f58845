#include "config/SettingsObserver.h"

#include "config/SettingsSignal.h"

namespace korvane {

void SettingsObserver::start(const Task& changed, const Task& mayHaveChanged)
{
    hangUps_ = subscribeToHangUps_(changed);
    namedSignals_ =
        bus_.subscribe(settingsSignal(), [changed](const BusSignal& /*signal*/) { changed(); });
    busStates_ = bus_.watchState([this, mayHaveChanged](SessionBus::State state) {
        if (state == SessionBus::State::connected) awaitDelivery(mayHaveChanged);
    });
    if (bus_.state() == SessionBus::State::connected) awaitDelivery(mayHaveChanged);
}

/** The bus answers in order: once it has answered this, it knows what was subscribed to before. */
void SettingsObserver::awaitDelivery(const Task& mayHaveChanged)
{
    bus_.call({.destination = "org.freedesktop.DBus",
               .path = "/org/freedesktop/DBus",
               .interface = "org.freedesktop.DBus",
               .member = "GetId"},
              [mayHaveChanged](const BusReply& /*reply*/) { mayHaveChanged(); });
}

} // namespace korvane
