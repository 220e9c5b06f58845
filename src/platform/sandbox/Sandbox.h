#pragma once

#include "platform/base/Result.h"
#include "platform/base/SystemError.h"

namespace korvane {

/**
 * Gives up, for the rest of this process's life, what reading and rewriting documents does not
 * take: it can open files for reading only, and where the kernel has Landlock no files but fonts,
 * recognition data and the like (see ReadableFiles.h). It cannot make connections or processes,
 * cannot execute anything that is not loaded already, libraries included, and has bounds on its
 * memory and on what it writes. To be called before any thread is started and any document is
 * read. What is open already stays usable, the socket on descriptor 3 included.
 *
 * A build with a sanitizer has no such bounds, because sanitizers need all of this themselves.
 */
Result<void, SystemError> enterSandbox();

} // namespace korvane
