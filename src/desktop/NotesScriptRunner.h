#pragma once

#include "desktop/NotesApplication.h"
#include "desktop/ScriptRunner.h"

namespace korvane {

/** Runs the program that adds a note, and no other, by adding the note to the application, which
 *  outlives the runner and its scripts. */
ScriptRunner notesScriptRunner(NotesApplication& application);

} // namespace korvane
