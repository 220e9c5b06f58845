#pragma once

#include "config/AppSettings.h"

#include <optional>
#include <string_view>

namespace korvane {

/**
 * The settings in a JSON text (RFC 8259), or nothing when one of them breaks a rule: there are no
 * half-valid settings. Every member but ippPort is required; unknown members are ignored; of
 * members of the same name the last counts.
 */
std::optional<AppSettings> decodeSettings(std::string_view json);

} // namespace korvane
