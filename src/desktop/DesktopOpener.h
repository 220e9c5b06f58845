#pragma once

#include "base/Lifetime.h"
#include "desktop/Opening.h"
#include "desktop/SessionEnvironment.h"
#include "event/ChildProcess.h"
#include "event/Queue.h"

#include <filesystem>
#include <list>
#include <memory>
#include <string>

namespace korvane {

/** Opens files and folders with the programs that the user has for them, which outlive the agent
 *  (xdg-open). Used on the queue, which outlives it, as does the environment. */
class DesktopOpener {
public:
    DesktopOpener(SessionEnvironment& environment, SerialQueue& queue)
        : environment_(environment), queue_(queue)
    {
    }

    /** Returns at once. On some desktops a folder counts as opened when it has been closed. */
    void open(const std::filesystem::path& target, const std::string& activationToken,
              OpeningHandler handler);

private:
    void start(const ProcessStart& program, const OpeningHandler& handler);

    SessionEnvironment& environment_;
    SerialQueue& queue_;
    /** The programs that run. */
    std::list<std::unique_ptr<ChildProcess>> running_;
    Lifetime lifetime_;
};

} // namespace korvane
