#pragma once

#include "ipp/PrinterDescriptor.h"

#include <map>
#include <string>

namespace korvane {

/** The printer's DNS-SD TXT record: 23 pairs, all texts (RFC 6763, section 6). */
std::map<std::string, std::string> makeTXTRecord(const PrinterDescriptor& descriptor);

} // namespace korvane
