#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

namespace korvane {

/**
 * Denies this process, for the rest of its life, what reading and rewriting documents does not
 * take: it can open files for reading only, and where the kernel has Landlock only fonts,
 * recognition data and the like (see Landlock.h). It cannot make connections or processes, cannot
 * execute code that is not loaded already, libraries included, and its memory and what it writes
 * are limited. To be called before any thread is started and any document is read. Descriptors that
 * are open stay usable, the socket on descriptor 3 included.
 *
 * Does nothing when `isSanitized`.
 */
Result<void, SystemError> enterSandbox();

} // namespace korvane
