#include "config/SettingsSignal.h"

namespace korvane {

BusMatch settingsSignal()
{
    return {.path = "/org/korvane/NamedSignal",
            .interface = "org.korvane.NamedSignal",
            .member = "Posted",
            .firstArgument = "org.korvane.Agent.settings-changed"};
}

BusEmission settingsSignalEmission()
{
    const BusMatch signal = settingsSignal();
    return {.path = signal.path,
            .interface = signal.interface,
            .member = signal.member,
            .arguments = {signal.firstArgument}};
}

} // namespace korvane
