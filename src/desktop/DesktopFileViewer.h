#pragma once

#include "base/Lifetime.h"
#include "base/Log.h"
#include "desktop/DesktopOpener.h"
#include "desktop/FileViewer.h"
#include "lib/systemd/SessionBus.h"

namespace korvane {

/** The file manager on the session bus (org.freedesktop.FileManager1), or else the program that
 *  opens folders. Used on the bus's queue; what is referred to outlives it. */
class DesktopFileViewer final : public FileViewer {
public:
    DesktopFileViewer(SessionBus& bus, DesktopOpener& opener, Log& log)
        : bus_(bus), opener_(opener), log_(log)
    {
    }

    void reveal(const std::filesystem::path& file, const std::string& activationToken,
                OpeningHandler handler) override;

private:
    SessionBus& bus_;
    DesktopOpener& opener_;
    Log& log_;
    Lifetime lifetime_;
};

} // namespace korvane
