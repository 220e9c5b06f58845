#include "server/IPPOutcome.h"

#include "ipp/IPPCodec.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace korvane {

HTTPResponse makeResponse(const IPPRequest& request, IPPOutcome outcome)
{
    IPPMessage response{.versionMajor = request.versionMajor,
                        .versionMinor = request.versionMinor,
                        .code = static_cast<std::uint16_t>(outcome.status),
                        .requestID = request.requestID};
    response.groups.push_back(
        {.tag = IPPTag::operationAttributes,
         .attributes = {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                        ipp::makeTextAttribute("attributes-natural-language", {"en"},
                                               IPPTag::naturalLanguage)}});
    if (!outcome.message.empty()) {
        response.groups.front().attributes.push_back(ipp::makeTextAttribute(
            "status-message", {std::move(outcome.message)}, IPPTag::textWithoutLang));
    }
    std::ranges::move(outcome.groups, std::back_inserter(response.groups));
    return {.status = "200 OK", .body = ipp::encode(response)};
}

HTTPResponse makeResponse(const IPPRequest& request, const SystemError& error)
{
    switch (error.code) {
    case EMFILE:
    case ENFILE:
    case ENOMEM: return {.status = "503 Service Unavailable", .body = {}};
    case ENOSPC:
    case EDQUOT: return makeResponse(request, {.status = IPPStatus::serverErrorBusy});
    default: return makeResponse(request, {.status = IPPStatus::serverErrorInternalError});
    }
}

} // namespace korvane
