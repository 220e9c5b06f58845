#pragma once

#include <cstdint>

namespace korvane {

/** The status codes of our responses (RFC 8011, appendix B). */
enum class IPPStatus : std::uint16_t {
    successfulOk = 0x0000,
    successfulOkIgnoredOrSubstitutedAttributes = 0x0001,
    clientErrorBadRequest = 0x0400,
    clientErrorNotAuthorized = 0x0403,
    clientErrorNotPossible = 0x0404,
    clientErrorNotFound = 0x0406,
    clientErrorDocumentFormatNotSupported = 0x040A,
    clientErrorAttributesOrValuesNotSupported = 0x040B,
    clientErrorCharsetNotSupported = 0x040D,
    clientErrorCompressionNotSupported = 0x040F,
    clientErrorCompressionError = 0x0410,
    clientErrorDocumentFormatError = 0x0411,
    serverErrorInternalError = 0x0500,
    serverErrorOperationNotSupported = 0x0501,
    serverErrorVersionNotSupported = 0x0503,
    serverErrorBusy = 0x0507,
    serverErrorJobCanceled = 0x0508,
    serverErrorMultipleDocumentJobsNotSupported = 0x0509,
};

} // namespace korvane
