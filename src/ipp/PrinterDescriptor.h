#pragma once

#include "ipp/PrinterProfile.h"

#include <string>

namespace korvane {

/** The facts that tell this printer from others. */
struct PrinterDescriptor {
    /** The name that the user gave it. */
    std::string name;

    /** Where clients print to, for example "ipp://localhost/ipp/print". */
    std::string uri;

    /** Stays the same for the life of the installation; without the prefix "urn:uuid:". */
    std::string uuid;

    /** Free text; may be empty. */
    std::string location;

    PrinterProfile profile = PrinterProfile::basic;

    friend bool operator==(const PrinterDescriptor&, const PrinterDescriptor&) = default;
};

} // namespace korvane
