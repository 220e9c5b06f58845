#include "server/IPPRequest.h"

#include <optional>
#include <variant>

namespace korvane {

namespace {

/** The first value of an operation attribute, if it is there and of that kind. */
template <typename Value>
std::optional<Value> firstOperationValue(const IPPMessage& request, std::string_view name)
{
    const IPPAttribute* attribute = ipp::findAttribute(request, name, IPPTag::operationAttributes);
    if (attribute == nullptr || attribute->values.empty()) return {};
    if (const auto* value = std::get_if<Value>(&attribute->values.front())) return *value;
    return {};
}

} // namespace

IPPRequest::IPPRequest(const IPPMessage& message)
    : versionMajor(message.versionMajor), versionMinor(message.versionMinor), code(message.code),
      requestID(message.requestID), operation(findIPPOperation(message.code)),
      jobName(firstOperationValue<ipp::Text>(message, "job-name").value_or(ipp::Text{}).text),
      jobID(firstOperationValue<ipp::Integer>(message, "job-id").value_or(ipp::Integer{0}).value),
      isLastDocument(firstOperationValue<ipp::Boolean>(message, "last-document")
                         .value_or(ipp::Boolean{true})
                         .value)
{
}

} // namespace korvane
