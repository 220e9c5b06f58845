#pragma once

#include "desktop/NotesApplication.h"

#include <filesystem>
#include <utility>

namespace korvane {

/**
 * Notes as HTML files, each with a copy of its file beside it, below one folder: for a desktop
 * without a notes application. A note's id is its path. Every file appears whole or not at all,
 * and none replaces another.
 */
class HTMLNotes final : public NotesApplication {
public:
    /** `root` is made with the first note. */
    explicit HTMLNotes(std::filesystem::path root) : root_(std::move(root)) {}

    Result<std::string, NotesFailure> addNote(const Note& note) override;

private:
    const std::filesystem::path root_;
};

} // namespace korvane
