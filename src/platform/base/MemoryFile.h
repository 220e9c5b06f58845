#pragma once

#include "platform/base/FileDescriptor.h"

#include <cstdint>

namespace korvane {

/** An empty file without a name that lives in memory and can be sealed; none when the system has
 *  none to give. */
FileDescriptor makeMemoryFile();

/** One of zeros whose size nobody can change: whoever is given it to write to can fill so much
 *  memory and no more. What was never written costs nothing. */
FileDescriptor makeMemoryFile(std::uint64_t size);

} // namespace korvane
