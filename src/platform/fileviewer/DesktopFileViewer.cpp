#include "platform/fileviewer/DesktopFileViewer.h"

#include "platform/fileviewer/FileURI.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

namespace {

/** Programs under way at one time; openers that hang are not joined by more. */
constexpr std::size_t mostOpeners = 8;

} // namespace

void DesktopFileViewer::reveal(const std::filesystem::path& file)
{
    bus_.call({.destination = "org.freedesktop.FileManager1",
               .path = "/org/freedesktop/FileManager1",
               .interface = "org.freedesktop.FileManager1",
               .member = "ShowItems",
               .arguments = {std::vector<std::string>{fileURI(file)}, std::string()},
               .timeout = std::chrono::seconds(10)},
              [this, folder = file.parent_path(),
               alive = std::weak_ptr<bool>(alive_)](const BusReply& reply) {
                  if (!reply && !alive.expired()) openFolder(folder);
              });
}

void DesktopFileViewer::openFolder(const std::filesystem::path& folder)
{
    if (openers_.size() >= mostOpeners) return;
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
