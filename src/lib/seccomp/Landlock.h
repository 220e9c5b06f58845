#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

namespace korvane {

/**
 * From here on this thread, and those it starts, can open only files below the folders of fonts, of
 * recognition data and of the system's libraries, and these only for reading; it can neither create
 * nor remove files, nor inspect other processes through /proc. Descriptors that are open stay open.
 * Whether a file exists is not hidden.
 *
 * Takes Linux 5.13 with Landlock enabled (landlock(7)); without, it does nothing.
 */
Result<void, SystemError> restrictFileAccess();

} // namespace korvane
