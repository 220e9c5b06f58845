#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace korvane {

/** A note as the notes application is to have it. All of it may be anybody's text. */
struct Note {
    std::string folder;
    std::string title;
    /** HTML. */
    std::string body;
    /** The file to attach, which exists. */
    std::filesystem::path file;

    friend bool operator==(const Note&, const Note&) = default;
};

/** Why the notes application did not make a note. */
struct NotesFailure {
    std::string description;

    friend bool operator==(const NotesFailure&, const NotesFailure&) = default;
};

/** The notes application of the desktop. */
class NotesApplication {
public:
    virtual ~NotesApplication() = default;

    /**
     * Makes the note, and its folder if that is missing, and gives the note's id. A note of the
     * same title stays as it is. After a failure there is no note. Blocks for as long as the
     * application takes: never call it on a queue that others wait for.
     */
    virtual Result<std::string, NotesFailure> addNote(const Note& note) = 0;
};

} // namespace korvane
