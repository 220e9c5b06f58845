#include "desktop/DesktopFileViewer.h"

#include "text/PercentEncoding.h"

#include <string>
#include <utility>
#include <vector>

namespace korvane {

void DesktopFileViewer::reveal(const std::filesystem::path& file,
                               const std::string& activationToken, OpeningHandler handler)
{
    bus_.call(
        {.destination = "org.freedesktop.FileManager1",
         .path = "/org/freedesktop/FileManager1",
         .interface = "org.freedesktop.FileManager1",
         .member = "ShowItems",
         .arguments = {std::vector<std::string>{text::fileURI(file.native())}, activationToken}},
        lifetime_.guard([this, folder = file.parent_path(), activationToken,
                         handler = std::move(handler)](const BusReply& reply) {
            if (reply) return handler({});
            log_.note("FileViewer: no file manager answers: " + reply.error().description());
            opener_.open(folder, activationToken, handler);
        }));
}

} // namespace korvane
