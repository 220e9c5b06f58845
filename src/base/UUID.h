#pragma once

#include <string>

namespace korvane {

/** A new random UUID (RFC 9562 section 5.4, version 4) in the canonical form, lower case. */
std::string makeRandomUUID();

} // namespace korvane
