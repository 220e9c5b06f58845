#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace korvane {

/** The operations that this printer performs, by their operation-id (RFC 8011 section 5.4.15). */
enum class IPPOperation : std::uint16_t {
    printJob = 0x0002,
    validateJob = 0x0004,
    createJob = 0x0005,
    sendDocument = 0x0006,
    cancelJob = 0x0008,
    getJobAttributes = 0x0009,
    getJobs = 0x000A,
    getPrinterAttributes = 0x000B,
};

struct IPPOperationName {
    IPPOperation operation;
    /** As log lines have it. */
    std::string_view name;
};

/** All of them, by operation-id. */
inline constexpr std::array ippOperations = {
    IPPOperationName{IPPOperation::printJob, "printJob"},
    IPPOperationName{IPPOperation::validateJob, "validateJob"},
    IPPOperationName{IPPOperation::createJob, "createJob"},
    IPPOperationName{IPPOperation::sendDocument, "sendDocument"},
    IPPOperationName{IPPOperation::cancelJob, "cancelJob"},
    IPPOperationName{IPPOperation::getJobAttributes, "getJobAttributes"},
    IPPOperationName{IPPOperation::getJobs, "getJobs"},
    IPPOperationName{IPPOperation::getPrinterAttributes, "getPrinterAttributes"},
};

/** The operation with this operation-id and its name; null if it is none of those above. */
inline const IPPOperationName* findIPPOperation(std::uint16_t code)
{
    const auto* found = std::ranges::find(ippOperations, static_cast<IPPOperation>(code),
                                          &IPPOperationName::operation);
    return found == ippOperations.end() ? nullptr : found;
}

} // namespace korvane
