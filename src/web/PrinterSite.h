#pragma once

#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"
#include "server/HTTPMessage.h"

#include <optional>
#include <string_view>

namespace korvane {

/** What a browser is shown at a path of the printer's web server: the page at "/", and the icons.
 *  Nothing anywhere else, and nothing of a printer of the basic profile. */
std::optional<HTTPResponse> printerSite(std::string_view path, const PrinterDescriptor& descriptor,
                                        const PrinterStatus& status);

} // namespace korvane
