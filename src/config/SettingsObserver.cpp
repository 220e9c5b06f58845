#include "config/SettingsObserver.h"

namespace korvane {

void SettingsObserver::start(const Task& handler)
{
    hangUps_ = subscribeToHangUps_(handler);
    namedSignals_ = bus_.subscribe({.path = "/org/korvane/NamedSignal",
                                    .interface = "org.korvane.NamedSignal",
                                    .member = "Posted",
                                    .firstArgument = "org.korvane.Agent.settings-changed"},
                                   [handler](const BusSignal& /*signal*/) { handler(); });
}

} // namespace korvane
