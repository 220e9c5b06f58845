#pragma once

#include "document/DocumentTraits.h"
#include "ipp/IPPMessage.h"
#include "ipp/IPPOperation.h"
#include "ipp/PrinterProfile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace korvane {

/** The first value of an operation attribute, if it is there and of that kind. */
template <typename Value>
std::optional<Value> operationValue(const IPPMessage& request, std::string_view name)
{
    const IPPAttribute* attribute = ipp::findAttribute(request, name, IPPTag::operationAttributes);
    if (attribute == nullptr || attribute->values.empty()) return {};
    if (const auto* value = std::get_if<Value>(&attribute->values.front())) return *value;
    return {};
}

/** The first value of an operation attribute if it is made of characters, else nothing. */
std::string operationText(const IPPMessage& request, std::string_view name);

/** What is kept of every request while its document arrives: little, whatever the client sends. */
struct IPPRequest {
    /** The operation is one of the profile's. The host is the client's. */
    IPPRequest(const IPPMessage& message, PrinterProfile profile, std::string hostName);

    /** Those of the answer. */
    std::uint8_t versionMajor;
    std::uint8_t versionMinor;
    std::uint16_t code;
    std::uint32_t requestID;
    /** Null for a code that is none of ours. */
    const IPPOperationName* operation;
    /** Empty when there is none. */
    std::string jobName;
    /** Who the client says to be: requesting-user-name. */
    std::string userName;
    std::string host;
    /** 0 when there is none. */
    std::int32_t jobID;
    /** A document is the last of its job unless it says otherwise. */
    bool isLastDocument;
    DocumentTraits traits;
};

} // namespace korvane
