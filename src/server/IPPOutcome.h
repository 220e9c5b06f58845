#pragma once

#include "base/SystemError.h"
#include "ipp/IPPMessage.h"
#include "server/HTTPMessage.h"
#include "server/IPPRequest.h"
#include "server/IPPStatus.h"

#include <string>
#include <vector>

namespace korvane {

/** What an operation comes to: its status, and the groups behind the operation attributes. */
struct IPPOutcome {
    IPPStatus status = IPPStatus::successfulOk;
    std::vector<IPPAttributeGroup> groups = {};
    /** The status in words, for people; may be empty. */
    std::string message = {};
};

/** The outcome as the answer to a request. */
HTTPResponse makeResponse(const IPPRequest& request, IPPOutcome outcome);

/** The answer where the system would not have a document: the client may try again where it is room
 *  that is missing. */
HTTPResponse makeResponse(const IPPRequest& request, const SystemError& error);

} // namespace korvane
