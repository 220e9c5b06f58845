#pragma once

#include "ipp/IPPMessage.h"
#include "ipp/IPPOperation.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace korvane {

/** What the operations look at in a request. */
struct IPPRequest {
    explicit IPPRequest(const IPPMessage& message);

    std::uint8_t versionMajor;
    std::uint8_t versionMinor;
    std::uint16_t code;
    std::uint32_t requestID;
    /** Null for a code that is none of ours. */
    const IPPOperationName* operation;
    /** Empty when there is none. */
    std::string jobName;
    /** 0 when there is none. */
    std::int32_t jobID;
    /** A document is the last of its job unless it says otherwise. */
    bool isLastDocument;
};

} // namespace korvane
