#include "web/PrinterIcons.h"

#include "ipp/PrinterModel.h"
#include "web/PrinterIconFiles.h"

namespace korvane {

std::optional<Data> printerIcon(std::string_view path)
{
    for (std::size_t i = 0; i < model::icons.size(); ++i) {
        if (path == model::icons[i].path) return Data(nullptr, printerIconFiles[i]);
    }
    return std::nullopt;
}

} // namespace korvane
