#include "platform/notes/DesktopNotes.h"

#include "platform/bus/BlockingBus.h"
#include "platform/notes/GnoteNotes.h"
#include "platform/notes/GnoteRemote.h"
#include "platform/notes/HTMLNotes.h"

#include <utility>

namespace korvane {

std::unique_ptr<NotesApplication> openDesktopNotes(const UserFolders& user)
{
    if (auto bus = openBlockingSessionBus()) {
        if (auto gnote = GnoteRemote::open(*std::move(bus))) {
            return std::make_unique<GnoteNotes>(std::move(gnote));
        }
    }
    return std::make_unique<HTMLNotes>(documentsFolder(user) / "Notes");
}

} // namespace korvane
