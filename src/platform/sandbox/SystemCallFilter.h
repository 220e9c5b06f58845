#pragma once

#include "platform/base/Result.h"
#include "platform/base/SystemError.h"

namespace korvane {

/** From here on this process can make the system calls of its table only (seccomp(2)). */
Result<void, SystemError> filterSystemCalls();

} // namespace korvane
