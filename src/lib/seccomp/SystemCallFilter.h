#pragma once

#include "base/Result.h"
#include "base/SystemError.h"

namespace korvane {

/** From here on this process can make no system calls but those that work on documents takes
 *  (seccomp(2)). */
Result<void, SystemError> filterSystemCalls();

} // namespace korvane
