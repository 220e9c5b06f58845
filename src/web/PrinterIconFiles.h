#pragma once

#include "ipp/PrinterModel.h"

#include <array>
#include <cstdint>
#include <span>

namespace korvane {

/** The files in packaging/icons, in the order of `model::icons`; the build makes their source. */
extern const std::array<std::span<const std::uint8_t>, model::icons.size()> printerIconFiles;

} // namespace korvane
