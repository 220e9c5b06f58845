#pragma once

#include "lib/systemd/SessionBus.h"

namespace korvane {

/** The named signal by which a program tells on the session bus that it has changed the settings,
 *  for those who subscribe to it. */
BusMatch settingsSignal();

/** The same to be sent by such a program. */
BusEmission settingsSignalEmission();

} // namespace korvane
