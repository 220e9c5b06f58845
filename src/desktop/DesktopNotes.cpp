#include "desktop/DesktopNotes.h"

#include "desktop/GnoteNotes.h"
#include "desktop/HTMLNotes.h"

namespace korvane {

Result<std::string, NotesFailure> DesktopNotes::addNote(const Note& note)
{
    if (auto gnote = GnoteRemote::open(bus_)) {
        auto added = GnoteNotes(std::move(gnote)).addNote(note);
        if (added) return added;
        log_.error("NotesBridge: " + added.error().description + " The note becomes a file.");
    }
    return HTMLNotes(documentsFolder(user_) / "Notes").addNote(note);
}

} // namespace korvane
