#include "discovery/TXTRecord.h"

#include "ipp/DocumentFormat.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace korvane {

std::map<std::string, std::string> makeTXTRecord(const PrinterDescriptor& descriptor)
{
    return {
        {"txtvers", "1"},
        {"qtotal", "1"},
        {"rp", "ipp/print"},
        {"ty", descriptor.name},
        {"adminurl", "http://localhost/"},
        {"note", descriptor.location},
        {"product", "(Korvane Virtual Printer)"},
        {"priority", "0"},
        {"usb_MFG", "Korvane"},
        {"usb_MDL", "Virtual Printer"},
        {"pdl", fmt::format("{}", fmt::join(supportedMediaTypes(PrinterProfile::basic), ","))},
        {"URF", fmt::format("{}", fmt::join(urfCapabilities, ","))},
        {"UUID", descriptor.uuid},
        {"Color", "T"},
        {"Duplex", "F"},
        {"Scan", "F"},
        {"Fax", "F"},
        {"PaperMax", "legal-A4"},
        {"kind", "document"},
        {"air", "none"},
        {"mopria-certified", "1.3"},
        {"printer-state", "3"},
        {"printer-type", "0x4FC901C"},
    };
}

} // namespace korvane
