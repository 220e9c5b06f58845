#pragma once

#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"

#include <string>

namespace korvane {

/**
 * The page about the printer, where printer-more-info points to: what it is, how it stands and how
 * to print to it, and nothing of anybody's jobs. HTML for any browser, with its style in it; its
 * icons are `printerIcon`'s.
 */
std::string printerPage(const PrinterDescriptor& descriptor, const PrinterStatus& status);

} // namespace korvane
