#pragma once

#include "ipp/PrinterProfile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace korvane {

/** The operations that this printer performs, by their operation-id (RFC 8011 section 5.4.15, PWG
 *  5100.11, PWG 5100.13). */
enum class IPPOperation : std::uint16_t {
    printJob = 0x0002,
    validateJob = 0x0004,
    createJob = 0x0005,
    sendDocument = 0x0006,
    cancelJob = 0x0008,
    getJobAttributes = 0x0009,
    getJobs = 0x000A,
    getPrinterAttributes = 0x000B,
    cancelMyJobs = 0x0039,
    closeJob = 0x003B,
    identifyPrinter = 0x003C,
};

struct IPPOperationName {
    IPPOperation operation;
    /** As log lines have it. */
    std::string_view name;
    /** Whether the basic profile performs it; IPP Everywhere performs all of them. */
    bool isBasic = false;
};

/** All of them, by operation-id. */
inline constexpr std::array ippOperations = {
    IPPOperationName{IPPOperation::printJob, "printJob", true},
    IPPOperationName{IPPOperation::validateJob, "validateJob", true},
    IPPOperationName{IPPOperation::createJob, "createJob", true},
    IPPOperationName{IPPOperation::sendDocument, "sendDocument", true},
    IPPOperationName{IPPOperation::cancelJob, "cancelJob", true},
    IPPOperationName{IPPOperation::getJobAttributes, "getJobAttributes", true},
    IPPOperationName{IPPOperation::getJobs, "getJobs", true},
    IPPOperationName{IPPOperation::getPrinterAttributes, "getPrinterAttributes", true},
    IPPOperationName{IPPOperation::cancelMyJobs, "cancelMyJobs"},
    IPPOperationName{IPPOperation::closeJob, "closeJob"},
    IPPOperationName{IPPOperation::identifyPrinter, "identifyPrinter"},
};

/** The operation with this operation-id and its name; null if a printer of the profile does not
 *  perform it. */
inline const IPPOperationName* findIPPOperation(std::uint16_t code, PrinterProfile profile)
{
    const auto* found = std::ranges::find(ippOperations, static_cast<IPPOperation>(code),
                                          &IPPOperationName::operation);
    if (found == ippOperations.end()) return nullptr;
    return found->isBasic || profile != PrinterProfile::basic ? found : nullptr;
}

/** The operation-ids of what a printer of the profile performs. */
inline std::vector<std::int32_t> supportedOperations(PrinterProfile profile)
{
    std::vector<std::int32_t> codes;
    codes.reserve(ippOperations.size());
    for (const IPPOperationName& known : ippOperations) {
        if (known.isBasic || profile != PrinterProfile::basic)
            codes.push_back(static_cast<std::int32_t>(known.operation));
    }
    return codes;
}

} // namespace korvane
