#pragma once

#include "base/Data.h"

#include <optional>
#include <string_view>

namespace korvane {

/** The PNG file of one of `model::icons`, by its path; shares storage that is never freed. */
std::optional<Data> printerIcon(std::string_view path);

} // namespace korvane
