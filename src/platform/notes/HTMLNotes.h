#pragma once

#include "platform/notes/NotesApplication.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace korvane {

/**
 * Notes as HTML files, each with what is attached to it beside it, below one folder: for a desktop
 * without a notes application. A note's id is its path. Every file appears whole or not at all,
 * and none takes another's place.
 */
class HTMLNotes final : public NotesApplication {
public:
    /** `root` is made with the first folder of notes. */
    explicit HTMLNotes(std::filesystem::path root);

    Result<bool, NotesFailure> folderExists(const std::string& name) override;
    Result<void, NotesFailure> makeFolder(const std::string& name) override;
    Result<std::string, NotesFailure> makeNote(const std::string& folder, const std::string& name,
                                               const std::string& body) override;
    Result<void, NotesFailure> makeAttachment(const std::string& noteID,
                                              const std::filesystem::path& file) override;
    void deleteNote(const std::string& noteID) override;

private:
    struct Note {
        std::string name;
        std::string body;
        std::vector<std::filesystem::path> attachments;
    };

    std::filesystem::path directory(const std::string& folder) const;
    static std::string document(const Note& note);

    std::filesystem::path root_;
    /** The notes of this conversation by id. */
    std::map<std::string, Note> notes_;
};

} // namespace korvane
