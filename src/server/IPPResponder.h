#pragma once

#include "server/HTTPMessage.h"
#include "server/IPPOutcome.h"
#include "server/IPPRequest.h"

#include <cstdint>
#include <functional>
#include <utility>

namespace korvane {

/** Answers one IPP request, on the server's queue; what follows the first answer is ignored. */
class IPPResponder {
public:
    /** Dropped with its copies, perhaps on another thread, when nothing is answered. */
    using Answer = std::function<void(HTTPResponse)>;

    IPPResponder(IPPRequest request, Answer answer)
        : request_(std::move(request)), answer_(std::move(answer))
    {
    }

    const IPPRequest& request() const { return request_; }

    void answerInVersion(std::uint8_t major, std::uint8_t minor)
    {
        request_.versionMajor = major;
        request_.versionMinor = minor;
    }

    void send(IPPOutcome outcome) const { answer_(makeResponse(request_, std::move(outcome))); }
    /** The system would not have the document. */
    void send(const SystemError& error) const { answer_(makeResponse(request_, error)); }

private:
    IPPRequest request_;
    Answer answer_;
};

} // namespace korvane
