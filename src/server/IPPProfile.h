#pragma once

#include "server/HTTPMessage.h"
#include "server/PreparedRequest.h"

namespace korvane {

/** Answers requests as a printer of one profile does. Used on the server's queue only, on which it
 *  ends as well. */
class IPPProfile {
public:
    virtual ~IPPProfile() = default;

    /** Prepares to carry out an IPP request (RFC 8011). */
    virtual PreparedRequest prepare(const ArrivingRequest& arriving) = 0;

    /** Answers a request that carries no IPP. */
    virtual HTTPResponse answer(const HTTPRequest& request) = 0;
};

} // namespace korvane
