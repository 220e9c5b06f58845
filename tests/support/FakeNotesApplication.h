#pragma once

#include "platform/notes/NotesApplication.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/** A notes application that remembers what it was asked to make. */
class FakeNotesApplication final : public NotesApplication {
public:
    struct Note {
        std::string folder;
        std::string name;
        std::string body;
        std::vector<std::filesystem::path> attachments;
    };

    struct Record {
        std::vector<std::string> folders;
        std::vector<Note> notes;
        std::vector<std::string> deleted;
        /** The id of every note. */
        std::string noteID = "note";
        /** What attaching fails with. */
        std::optional<NotesFailure> attachmentFailure;
    };

    explicit FakeNotesApplication(Record& record) : record_(record) {}

    Result<bool, NotesFailure> folderExists(const std::string& name) override
    {
        return std::ranges::count(record_.folders, name) > 0;
    }
    Result<void, NotesFailure> makeFolder(const std::string& name) override
    {
        record_.folders.push_back(name);
        return {};
    }
    Result<std::string, NotesFailure> makeNote(const std::string& folder, const std::string& name,
                                               const std::string& body) override
    {
        record_.notes.push_back({folder, name, body, {}});
        return record_.noteID;
    }
    Result<void, NotesFailure> makeAttachment(const std::string& /*noteID*/,
                                              const std::filesystem::path& file) override
    {
        if (record_.attachmentFailure) return failure(*record_.attachmentFailure);
        record_.notes.back().attachments.push_back(file);
        return {};
    }
    void deleteNote(const std::string& noteID) override { record_.deleted.push_back(noteID); }

private:
    Record& record_;
};

} // namespace korvane
