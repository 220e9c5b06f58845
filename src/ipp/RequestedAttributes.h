#pragma once

#include "ipp/IPPMessage.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** By which of its group names an attribute can be asked for (RFC 8011 sections 4.2.5.1, 4.3.4.1).
 */
enum class AttributeKind {
    printerDescription, ///< "printer-description"
    jobDescription,     ///< "job-description"
    jobTemplate,        ///< "job-template"
    onlyByName,         ///< none, not even "all" (PWG 5100.7 section 6.4.6)
};

/** Which attributes a client wants to see: what "requested-attributes" says. */
class RequestedAttributes {
public:
    /** What a request asks for: names of attributes and of groups of them. One that asks for
     *  nothing is taken to ask for `defaults`. Names of no attribute are ignored. */
    explicit RequestedAttributes(const IPPMessage& request,
                                 const std::vector<std::string>& defaults = {"all"});

    /** All but those that have to be asked for by name. */
    RequestedAttributes() : names_{"all"} {}

    bool wants(std::string_view name, AttributeKind kind) const;

private:
    std::set<std::string, std::less<>> names_;
};

} // namespace korvane
