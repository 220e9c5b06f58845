#pragma once

#include <cstdint>

namespace korvane {

/** The status codes of our responses (RFC 8011, appendix B). */
enum class IPPStatus : std::uint16_t {
    successfulOk = 0x0000,
    clientErrorBadRequest = 0x0400,
    clientErrorNotFound = 0x0406,
    clientErrorDocumentFormatNotSupported = 0x040A,
    serverErrorInternalError = 0x0500,
    serverErrorOperationNotSupported = 0x0501,
    serverErrorBusy = 0x0507,
};

} // namespace korvane
