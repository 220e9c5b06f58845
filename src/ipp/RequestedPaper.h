#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PaperSize.h"

#include <optional>
#include <string_view>

namespace korvane::ipp {

/** The size that the name of a sheet ends with, such as "iso_a4_210x297mm" (PWG 5101.1 section 5);
 *  nothing where it does not, or has no sheet of at most ten meters. */
std::optional<PaperSize> paperSizeOfName(std::string_view name);

/** The sheet that a job is to be printed on, by its media-col or its media; nothing where it does
 *  not say. */
std::optional<PaperSize> requestedPaper(const IPPMessage& request);

} // namespace korvane::ipp
