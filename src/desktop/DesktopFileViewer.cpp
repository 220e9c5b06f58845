#include "desktop/DesktopFileViewer.h"

#include "text/PercentEncoding.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/** Programs that run at one time, so that those that hang do not pile up. */
constexpr std::size_t maxOpeners = 8;

} // namespace

void DesktopFileViewer::reveal(const std::filesystem::path& file)
{
    bus_.call({.destination = "org.freedesktop.FileManager1",
               .path = "/org/freedesktop/FileManager1",
               .interface = "org.freedesktop.FileManager1",
               .member = "ShowItems",
               .arguments = {std::vector<std::string>{text::fileURI(file.native())}, std::string()},
               .timeout = std::chrono::seconds(10)},
              lifetime_.guard([this, folder = file.parent_path()](const BusReply& reply) {
                  if (!reply) openFolder(folder);
              }));
}

void DesktopFileViewer::openFolder(const std::filesystem::path& folder)
{
    if (openers_.size() >= maxOpeners) return;
    const auto place = openers_.emplace(openers_.end());
    auto opener = ChildProcess::start({"xdg-open", folder.string()}, queue_,
                                      [this, place](int /*status*/) { openers_.erase(place); });
    if (opener) {
        *place = std::move(*opener);
    } else {
        openers_.erase(place);
    }
}

} // namespace korvane
