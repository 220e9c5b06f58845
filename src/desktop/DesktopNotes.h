#pragma once

#include "base/User.h"
#include "desktop/NotesApplication.h"
#include "lib/systemd/BlockingBus.h"

#include <utility>

namespace korvane {

/** Notes in Gnote, where it runs or can be started; else in HTML files in the folder "Notes" among
 *  the user's documents. */
class DesktopNotes final : public NotesApplication {
public:
    /** The session bus outlives it. */
    DesktopNotes(UserFolders user, BlockingBus& bus) : user_(std::move(user)), bus_(bus) {}

    Result<std::string, NotesFailure> addNote(const Note& note) override;

private:
    const UserFolders user_;
    BlockingBus& bus_;
};

} // namespace korvane
