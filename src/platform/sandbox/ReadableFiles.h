#pragma once

#include "platform/base/Result.h"
#include "platform/base/SystemError.h"

namespace korvane {

/**
 * From here on this thread, and those it starts, can open for reading what lies below the folders
 * of fonts, of recognition data and of the system's libraries, and nothing else; writing, creating
 * and removing files is over. Neither can it look into other processes through /proc. What is open
 * stays open, and memory files can be passed to it. Whether a file exists can still be asked.
 *
 * Linux does this since version 5.13 where Landlock is switched on (landlock(7)); elsewhere this
 * changes nothing.
 */
Result<void, SystemError> confineReading();

} // namespace korvane
