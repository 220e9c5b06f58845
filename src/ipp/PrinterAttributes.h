#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PrinterDescriptor.h"

#include <string>

namespace korvane::ipp {

/**
 * The printer's description, status and job template attributes (RFC 8011 sections 5.2 and 5.4, PWG
 * 5100.x), the same for every Get-Printer-Attributes request but for the up-time.
 */
IPPAttributeGroup makePrinterAttributes(const PrinterDescriptor& descriptor);

/** The page about the printer: the root of the web server behind its "ipp://" URI, or of localhost
 *  when it has no such URI. */
std::string moreInfoURI(const PrinterDescriptor& descriptor);

} // namespace korvane::ipp
