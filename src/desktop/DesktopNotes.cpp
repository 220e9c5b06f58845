#include "desktop/DesktopNotes.h"

#include "desktop/GnoteNotes.h"
#include "desktop/HTMLNotes.h"

namespace korvane {

Result<std::string, NotesFailure> DesktopNotes::addNote(const Note& note)
{
    if (auto gnote = GnoteRemote::open(bus_)) return GnoteNotes(std::move(gnote)).addNote(note);
    return HTMLNotes(documentsFolder(user_) / "Notes").addNote(note);
}

} // namespace korvane
