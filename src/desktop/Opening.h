#pragma once

#include "base/Result.h"

#include <functional>
#include <string>

namespace korvane {

/** Called once, when something was opened for the user, or with the reason why it could not be; on
 *  the queue of what opens it. */
using OpeningHandler = std::function<void(const Result<void, std::string>&)>;

} // namespace korvane
