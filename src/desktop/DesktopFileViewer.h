#pragma once

#include "base/Lifetime.h"
#include "desktop/FileViewer.h"
#include "event/ChildProcess.h"
#include "event/Queue.h"
#include "lib/systemd/SessionBus.h"

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
    /** The programs that run. */
    std::list<std::unique_ptr<ChildProcess>> openers_;
    Lifetime lifetime_;
};

} // namespace korvane
