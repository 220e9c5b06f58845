#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"
#include "ipp/RequestedAttributes.h"

#include <string>

namespace korvane::ipp {

/**
 * Of the attributes that IPP Everywhere 1.1 asks for (PWG 5100.14 sections 5.2 to 5.4) those that
 * are requested: what the printer is, how it stands, and what the jobs may ask of it. Names that
 * clients may not understand in full (RFC 8011 section 5.4) are cut to what is allowed.
 */
IPPAttributeGroup makeEverywhereAttributes(const PrinterDescriptor& descriptor,
                                           const PrinterStatus& status,
                                           const RequestedAttributes& requested);

/** printer-state-message: how the printer stands, in a sentence for people. */
std::string stateMessage(const PrinterStatus& status);

} // namespace korvane::ipp
