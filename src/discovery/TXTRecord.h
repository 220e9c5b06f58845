#pragma once

#include "ipp/PrinterDescriptor.h"

#include <map>
#include <string>

namespace korvane {

/** The service type with the subtypes that a printer of the profile is found by, as `Registration`
 *  has it: IPP Everywhere asks for "_print" (PWG 5100.14 section 4.1). */
const char* serviceType(PrinterProfile profile);

/**
 * The printer's DNS-SD TXT record, all texts (RFC 6763, section 6): the 23 pairs of the basic
 * profile, or what IPP Everywhere asks for (PWG 5100.14 section 4.2.3). There no pair is longer
 * than a record can hold.
 */
std::map<std::string, std::string> makeTXTRecord(const PrinterDescriptor& descriptor);

} // namespace korvane
