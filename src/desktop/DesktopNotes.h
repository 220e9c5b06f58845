#pragma once

#include "base/Log.h"
#include "base/User.h"
#include "desktop/NotesApplication.h"
#include "lib/systemd/BlockingBus.h"

#include <utility>

namespace korvane {

/** Notes in Gnote, where it runs or can be started; else, or where it fails, in HTML files in the
 *  folder "Notes" among the user's documents. */
class DesktopNotes final : public NotesApplication {
public:
    /** The session bus and the log outlive it. */
    DesktopNotes(UserFolders user, BlockingBus& bus, Log& log)
        : user_(std::move(user)), bus_(bus), log_(log)
    {
    }

    Result<std::string, NotesFailure> addNote(const Note& note) override;

private:
    const UserFolders user_;
    BlockingBus& bus_;
    Log& log_;
};

} // namespace korvane
