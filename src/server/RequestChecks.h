#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/PrinterDescriptor.h"
#include "server/IPPOutcome.h"

#include <cstdint>
#include <optional>
#include <string_view>

/** What IPP/2.0 asks of every request, whatever its operation (RFC 8011 section 4.1). Each gives
 *  the answer to a request that it finds wrong. */
namespace korvane::checks {

/** Its version and request-id (sections 4.1.1 and 4.1.8). */
std::optional<IPPOutcome> header(const IPPMessage& request);

/** Its groups, and what they begin with (sections 4.1.3 and 4.1.4). */
std::optional<IPPOutcome> groups(const IPPMessage& request);

/** Whether the operation attributes that the printer knows have their syntax, as many values as
 *  they may have, and a value that is supported (section 4.1.7). */
std::optional<IPPOutcome> values(const IPPMessage& request);

/** Whether the request is for this printer; with `jobID`, for one of its jobs, of which the id is
 *  put there (section 4.1.5). */
std::optional<IPPOutcome> target(const IPPMessage& request, const PrinterDescriptor& printer,
                                 std::int32_t* jobID);

/** That a value is not supported: the attribute goes back to the client (section 4.1.7). */
IPPOutcome unsupported(IPPStatus status, const IPPMessage& request, std::string_view attribute);

} // namespace korvane::checks
