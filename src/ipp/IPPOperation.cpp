#include "ipp/IPPOperation.h"

#include <algorithm>

namespace korvane {

std::optional<IPPOperation> makeIPPOperation(std::uint16_t rawValue)
{
    const auto operation = static_cast<IPPOperation>(rawValue);
    if (std::ranges::find(allIPPOperations, operation) == allIPPOperations.end()) return {};
    return operation;
}

std::string_view caseName(IPPOperation operation)
{
    switch (operation) {
    case IPPOperation::printJob: return "printJob";
    case IPPOperation::validateJob: return "validateJob";
    case IPPOperation::createJob: return "createJob";
    case IPPOperation::sendDocument: return "sendDocument";
    case IPPOperation::cancelJob: return "cancelJob";
    case IPPOperation::getJobAttributes: return "getJobAttributes";
    case IPPOperation::getJobs: return "getJobs";
    case IPPOperation::getPrinterAttributes: return "getPrinterAttributes";
    }
    return {};
}

} // namespace korvane
