#pragma once

#include "desktop/NotesApplication.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/**
 * The AppleScript program that adds a note: five fixed pieces of text with four string literals
 * between them. It makes the folder if that is missing, makes the note, attaches the file and
 * returns the note's id.
 */
std::string composeNotesProgram(const Note& note);

/** The note that the program adds; nothing for a text that is not this program. */
std::optional<Note> matchNotesProgram(std::string_view source);

/** The text as an AppleScript string literal holds it: a backslash before each backslash and each
 *  quotation mark. */
std::string appleScriptEscape(std::string_view text);

} // namespace korvane
