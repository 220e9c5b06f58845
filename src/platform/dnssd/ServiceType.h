#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A service type taken apart: "_ipp._tcp,_universal" is the type "_ipp._tcp" that is also found as
 *  "_universal._sub._ipp._tcp" (RFC 6763, section 7.1). */
struct ServiceType {
    std::string type;
    /** The subtypes in full. */
    std::vector<std::string> subtypes;
};

ServiceType parseServiceType(std::string_view text);

} // namespace korvane
