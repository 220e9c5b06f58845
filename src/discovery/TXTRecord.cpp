#include "discovery/TXTRecord.h"

#include "ipp/DocumentFormat.h"
#include "ipp/PrinterAttributes.h"
#include "ipp/PrinterModel.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace korvane {

namespace {

using Pairs = std::map<std::string, std::string>;

Pairs basicPairs(const PrinterDescriptor& descriptor)
{
    return {
        {"txtvers", "1"},
        {"qtotal", "1"},
        {"rp", "ipp/print"},
        {"ty", descriptor.name},
        {"adminurl", "http://localhost/"},
        {"note", descriptor.location},
        {"product", fmt::format("({})", model::makeAndModel)},
        {"priority", "0"},
        {"usb_MFG", model::manufacturer},
        {"usb_MDL", model::model},
        {"pdl", fmt::format("{}", fmt::join(supportedMediaTypes(descriptor.profile), ","))},
        {"URF", fmt::format("{}", fmt::join(urfCapabilities, ","))},
        {"UUID", descriptor.uuid},
        {"Color", "T"},
        {"Duplex", "F"},
        {"Scan", "F"},
        {"Fax", "F"},
        {"PaperMax", "legal-A4"},
        {"kind", "document"},
        {"air", "none"},
        {"mopria-certified", model::mopriaVersion},
        {"printer-state", "3"},
        {"printer-type", "0x4FC901C"},
    };
}

/** Without "printer-type", by which CUPS knows the queues that other CUPS servers share. */
Pairs everywherePairs(const PrinterDescriptor& descriptor)
{
    return {
        {"txtvers", "1"},
        {"qtotal", "1"},
        {"rp", "ipp/print"},
        {"ty", ipp::shortText(descriptor.name)},
        {"adminurl", ipp::moreInfoURI(descriptor)},
        {"note", ipp::shortText(descriptor.location)},
        {"product", fmt::format("({})", model::makeAndModel)},
        {"priority", "0"},
        {"usb_MFG", model::manufacturer},
        {"usb_MDL", model::model},
        {"pdl", fmt::format("{}", fmt::join(supportedMediaTypes(descriptor.profile), ","))},
        {"URF", fmt::format("{}", fmt::join(everywhereURFCapabilities, ","))},
        {"UUID", descriptor.uuid},
        {"Color", "T"},
        {"Duplex", "F"},
        {"Copies", "F"},
        {"Scan", "F"},
        {"Fax", "F"},
        {"PaperMax", ">isoC-A2"},
        {"kind", "document,photo"},
        {"air", "none"}, // nobody has to say who he is
        {"mopria-certified", model::mopriaVersion},
    };
}

} // namespace

const char* serviceType(PrinterProfile profile)
{
    return profile == PrinterProfile::ippEverywhere ? "_ipp._tcp,_universal,_print"
                                                    : "_ipp._tcp,_universal";
}

std::map<std::string, std::string> makeTXTRecord(const PrinterDescriptor& descriptor)
{
    return descriptor.profile == PrinterProfile::ippEverywhere ? everywherePairs(descriptor)
                                                               : basicPairs(descriptor);
}

} // namespace korvane
