#include "desktop/NotesBridge.h"
#include "platform/files/UserFolders.h"
#include "platform/notes/DesktopNotes.h"
#include "platform/script/NotesScriptRunner.h"

#include <iostream>
#include <iterator>

/** Adds one note as the agent does: AddNote TITLE FOLDER PDF, the text on standard input. */
int main(int count, char** arguments)
{
    using namespace korvane;
    if (count != 4) return 2;
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    const NotesScriptRunner runner([] { return openDesktopNotes(currentUserFolders()); });
    const auto added = NotesBridge::addNote(arguments[1], text, arguments[2], arguments[3], runner);
    if (added) return 0;
    std::cerr << added.error().description() << '\n';
    return 1;
}
