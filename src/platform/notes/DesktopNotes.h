#pragma once

#include "platform/files/UserFolders.h"
#include "platform/notes/NotesApplication.h"

#include <memory>

namespace korvane {

/** Gnote, where it runs or can be started; else HTML files in the folder "Notes" among the user's
 *  documents. May take as long as Gnote takes to start. */
std::unique_ptr<NotesApplication> openDesktopNotes(const UserFolders& user);

} // namespace korvane
