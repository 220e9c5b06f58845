#pragma once

#include "base/SystemError.h"
#include "ipp/IPPMessage.h"
#include "server/IPPResponder.h"
#include "server/ReceivedDocument.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace korvane {

/** A request whose attributes are complete. */
struct ArrivingRequest {
    /** Not kept: it may be large. */
    const IPPMessage& message;
    IPPResponder responder;
    /** Whether something may follow the attributes. */
    bool isMoreToCome;
    /** For `JobReception::makeDocument`. */
    std::function<void()> onWritten;

    const IPPRequest& request() const { return responder.request(); }
};

/** What will be done for a request when it is there whole. Dropped before, its client has left. */
struct PreparedRequest {
    /** Answers, with so many bytes behind the attributes. Called once. */
    std::function<void(std::uint64_t documentBytes)> perform;
    /** Receives those bytes; without one they are dropped. */
    std::shared_ptr<ReceivedDocument> document = {};
    /** Answers instead, when the document cannot be received to its end. */
    std::function<void(const SystemError&)> refuse = {};
};

/** A request whose answer is made when it is there whole, and needs nothing that follows its
 *  attributes. */
inline PreparedRequest answered(const IPPResponder& responder, std::function<IPPOutcome()> outcome)
{
    return {.perform = [responder, outcome = std::move(outcome)](std::uint64_t /*bytes*/) {
        responder.send(outcome());
    }};
}

/** The same where the outcome is known. */
inline PreparedRequest answered(const IPPResponder& responder, IPPOutcome outcome)
{
    return answered(responder, [outcome = std::move(outcome)] { return outcome; });
}

} // namespace korvane
