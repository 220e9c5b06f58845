#pragma once

#include "platform/base/Result.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

/** Why the notes application did not do what it was asked. */
struct NotesFailure {
    std::string description;

    friend bool operator==(const NotesFailure&, const NotesFailure&) = default;
};

/**
 * A conversation with the notes application of the desktop: what its scripting terms can do. Names
 * and bodies come from strangers' documents and are never more than text to it. Every call may
 * block for as long as the application takes, so no queue that others wait for makes one.
 */
class NotesApplication {
public:
    NotesApplication() = default;
    NotesApplication(const NotesApplication&) = delete;
    NotesApplication& operator=(const NotesApplication&) = delete;
    virtual ~NotesApplication() = default;

    virtual Result<bool, NotesFailure> folderExists(const std::string& name) = 0;
    virtual Result<void, NotesFailure> makeFolder(const std::string& name) = 0;

    /** Makes a note in a folder that exists and gives its id. `body` is HTML. A note of the same
     *  name stays as it is. */
    virtual Result<std::string, NotesFailure>
    makeNote(const std::string& folder, const std::string& name, const std::string& body) = 0;

    /** Attaches a file to a note that this conversation made. */
    virtual Result<void, NotesFailure> makeAttachment(const std::string& noteID,
                                                      const std::filesystem::path& file) = 0;

    /** Takes back a note that this conversation made, as well as it can. */
    virtual void deleteNote(const std::string& noteID) = 0;
};

/** Begins a conversation with whatever stands for the notes application at this moment. */
using OpenNotesApplication = std::function<std::unique_ptr<NotesApplication>()>;

} // namespace korvane
