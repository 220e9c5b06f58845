#pragma once

#include <array>
#include <cstdint>
#include <optional>
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

inline constexpr std::array allIPPOperations = {
    IPPOperation::printJob,  IPPOperation::validateJob,
    IPPOperation::createJob, IPPOperation::sendDocument,
    IPPOperation::cancelJob, IPPOperation::getJobAttributes,
    IPPOperation::getJobs,   IPPOperation::getPrinterAttributes,
};

/** The operation with this operation-id, if it is one of those above. */
std::optional<IPPOperation> makeIPPOperation(std::uint16_t rawValue);

constexpr std::uint16_t rawValue(IPPOperation operation)
{
    return static_cast<std::uint16_t>(operation);
}

/** The operation as log lines name it, for example "printJob". */
std::string_view caseName(IPPOperation operation);

} // namespace korvane
