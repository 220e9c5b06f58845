#pragma once

#include "base/FileDescriptor.h"

namespace korvane {

/** An empty file without a name that lives in memory and can be sealed; none when the system has
 *  none to give. */
FileDescriptor makeMemoryFile();

} // namespace korvane
