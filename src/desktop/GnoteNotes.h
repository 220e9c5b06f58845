#pragma once

#include "desktop/GnoteRemote.h"
#include "desktop/NotesApplication.h"

#include <memory>
#include <string>
#include <utility>

namespace korvane {

/**
 * Notes in Gnote: a folder is a notebook, the attachment a link to the file at the note's end.
 * Gnote makes a notebook with its first note, and takes names that differ only in case or in the
 * space at their ends for one notebook. It refuses a title that another note has, so a later note
 * has a number behind its title.
 */
class GnoteNotes final : public NotesApplication {
public:
    explicit GnoteNotes(std::unique_ptr<GnoteRemote> gnote) : gnote_(std::move(gnote)) {}

    Result<std::string, NotesFailure> addNote(const Note& note) override;

private:
    struct Place {
        std::string uri;
        std::string title;
    };

    /** Makes an empty note with a title that no other has. */
    Result<Place, NotesFailure> makeEmptyNote(const std::string& title);
    Result<void, NotesFailure> addToNotebook(const std::string& uri, const std::string& folder);
    /** Gives the note its content, and makes sure that Gnote has accepted it. */
    Result<void, NotesFailure> setContent(const std::string& uri, const std::string& xml);

    std::unique_ptr<GnoteRemote> gnote_;
};

} // namespace korvane
