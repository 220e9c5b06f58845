#pragma once

#include "platform/bus/SessionBus.h"
#include "platform/fileviewer/FileViewer.h"
#include "platform/process/ChildProcess.h"
#include "platform/queue/Queue.h"

#include <list>
#include <memory>

namespace korvane {

/** The file manager on the session bus (org.freedesktop.FileManager1), or else the program that
 *  opens folders. Used on the bus's queue; both outlive it. */
class DesktopFileViewer final : public FileViewer {
public:
    DesktopFileViewer(SessionBus& bus, SerialQueue& queue) : bus_(bus), queue_(queue) {}

    void reveal(const std::filesystem::path& file) override;

private:
    void openFolder(const std::filesystem::path& folder);

    SessionBus& bus_;
    SerialQueue& queue_;
    /** Programs that open folders; each is here until it has ended. */
    std::list<std::unique_ptr<ChildProcess>> openers_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace korvane
