#include "server/IPPRequest.h"

#include "ipp/RequestedPages.h"
#include "ipp/RequestedPaper.h"
#include "text/Text.h"

#include <utility>

namespace korvane {

namespace {

/** As long as a name may be (RFC 8011 section 5.1.3). */
constexpr std::size_t maxUserName = 255;

Compression compressionOf(const IPPMessage& message)
{
    const std::string compression = operationText(message, "compression");
    if (compression == "gzip") return Compression::gzip;
    return compression == "deflate" ? Compression::deflate : Compression::none;
}

/** The basic profile saves every document as it came. */
std::vector<PageRange> pagesOf(const IPPMessage& message, PrinterProfile profile)
{
    if (profile == PrinterProfile::basic) return {};
    return ipp::requestedPages(message);
}

} // namespace

std::string operationText(const IPPMessage& request, std::string_view name)
{
    return operationValue<ipp::Text>(request, name).value_or(ipp::Text{}).text;
}

IPPRequest::IPPRequest(const IPPMessage& message, PrinterProfile profile, std::string hostName)
    : versionMajor(message.versionMajor), versionMinor(message.versionMinor), code(message.code),
      requestID(message.requestID), operation(findIPPOperation(message.code, profile)),
      jobName(operationText(message, "job-name")),
      userName(
          text::prefixOfSequences(operationText(message, "requesting-user-name"), maxUserName)),
      host(std::move(hostName)),
      jobID(operationValue<ipp::Integer>(message, "job-id").value_or(ipp::Integer{0}).value),
      isLastDocument(operationValue<ipp::Boolean>(message, "last-document")
                         .value_or(ipp::Boolean{true})
                         .value),
      traits{.compression = compressionOf(message),
             .paper = ipp::requestedPaper(message).value_or(PaperSize()),
             .pages = pagesOf(message, profile)}
{
}

} // namespace korvane
