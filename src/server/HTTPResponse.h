#pragma once

#include "platform/base/Data.h"

#include <string>

namespace korvane {

/** An answer to one HTTP request. */
struct HTTPResponse {
    /** Status code and reason, for example "200 OK". */
    std::string status;
    std::string contentType = "application/ipp";
    Data body;

    /** The status line and the header section with the empty line that ends it (RFC 9112, section
     *  2.1). The connection is closed after every answer, and the header says so. */
    std::string header() const;
};

} // namespace korvane
