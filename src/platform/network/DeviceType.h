#pragma once

#include "platform/network/NetworkPath.h"

#include <string>

namespace korvane {

/** What the driver of the machine's network device `name` says that it is; wired Ethernet when it
 *  says nothing, as the drivers of Ethernet cards do. */
InterfaceType deviceType(const std::string& name);

} // namespace korvane
