#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PrinterDescriptor.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace korvane::ipp {

/**
 * The printer's description, status and job template attributes (RFC 8011 sections 5.2 and 5.4, PWG
 * 5100.x), the same for every Get-Printer-Attributes request but for the up-time.
 */
IPPAttributeGroup makePrinterAttributes(const PrinterDescriptor& descriptor);

/** The page about the printer: the root of the web server behind its "ipp://" URI, or of localhost
 *  when it has no such URI. */
std::string moreInfoURI(const PrinterDescriptor& descriptor);

/** As much of a printer's name or description as fits the 127 bytes that it may have (RFC 8011
 *  section 5.4). */
std::string shortText(std::string_view text);

/** The whole seconds from `base` to `now`, at least 1, as printer-up-time counts them (RFC 8011
 *  section 5.4.29). */
std::int32_t printerUpTime(std::chrono::system_clock::time_point base,
                           std::chrono::system_clock::time_point now);

} // namespace korvane::ipp
