#pragma once

#include "platform/notes/GnoteRemote.h"
#include "platform/notes/NotesApplication.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * Notes in Gnote: a folder is a notebook, an attachment a link to the file at the note's end. A
 * notebook comes to be with its first note. Gnote lets no two notes have the same title, so a later
 * one has a number behind it; names of notebooks that differ in case or in the space at their ends
 * are one to it.
 */
class GnoteNotes final : public NotesApplication {
public:
    explicit GnoteNotes(std::unique_ptr<GnoteRemote> gnote);

    Result<bool, NotesFailure> folderExists(const std::string& name) override;
    Result<void, NotesFailure> makeFolder(const std::string& name) override;
    Result<std::string, NotesFailure> makeNote(const std::string& folder, const std::string& name,
                                               const std::string& body) override;
    Result<void, NotesFailure> makeAttachment(const std::string& noteID,
                                              const std::filesystem::path& file) override;
    void deleteNote(const std::string& noteID) override;

private:
    struct Note {
        std::string title;
        std::string text;
        /** The URIs of the attached files. */
        std::vector<std::string> attachments = {};
    };

    /** Makes an empty note with a title that no other has, and gives its URI. */
    Result<std::string, NotesFailure> makeEmptyNote(Note& note);
    /** Gives the note its content, and makes sure that Gnote has taken it. */
    Result<void, NotesFailure> write(const std::string& uri, const Note& note);
    Result<void, NotesFailure> addToNotebook(const std::string& uri, const std::string& folder);

    std::unique_ptr<GnoteRemote> gnote_;
    /** The notes of this conversation by their URIs. */
    std::map<std::string, Note> notes_;
};

} // namespace korvane
