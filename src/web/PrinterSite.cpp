#include "web/PrinterSite.h"

#include "web/PrinterIcons.h"
#include "web/PrinterPage.h"

namespace korvane {

std::optional<HTTPResponse> printerSite(std::string_view path, const PrinterDescriptor& descriptor,
                                        const PrinterStatus& status)
{
    if (descriptor.profile == PrinterProfile::basic) return std::nullopt;
    if (path == "/") {
        return HTTPResponse{.status = "200 OK",
                            .contentType = "text/html; charset=utf-8",
                            .body = Data::copying(printerPage(descriptor, status))};
    }
    auto icon = printerIcon(path);
    if (!icon) return std::nullopt;
    return HTTPResponse{.status = "200 OK", .contentType = "image/png", .body = *std::move(icon)};
}

} // namespace korvane
