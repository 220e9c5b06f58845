#pragma once

#include "event/Queue.h"
#include "server/HTTPMessage.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace korvane {

/** What the reader of a request does with its client, on the server's queue. */
struct RequestClient {
    /** Answers the request: once, when it is complete or before. When the last copy is dropped
     *  without a call, on whatever thread, the connection is closed. */
    std::function<void(HTTPResponse)> answer;
    /** Goes on reading after the reader was busy. */
    Task readOn;
    /** Its host: the same for all that come from it, and for none else; empty if it is not known.
     */
    std::string host = {};
};

/** Takes the body of one request as it arrives, and has the request answered. Used on the server's
 *  queue, and dropped when the client is gone or has its answer. */
class RequestReader {
public:
    virtual ~RequestReader() = default;

    /** Takes the next bytes of the body, which are valid during the call. */
    virtual void append(std::span<const std::uint8_t> bytes) = 0;

    /** The body has come to its end. */
    virtual void finish() = 0;

    /** How much memory it keeps. */
    virtual std::size_t bytesHeld() const { return 0; }

    /** Memory is short: puts away what it keeps, and then asks for more. False if it cannot. */
    virtual bool releaseMemory() { return false; }

    /** Whether nothing should be read for it until it asks for more. */
    virtual bool isBusy() const { return false; }
};

} // namespace korvane
