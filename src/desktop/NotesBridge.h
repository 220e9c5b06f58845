#pragma once

#include "base/Result.h"
#include "desktop/ScriptRunner.h"

#include <filesystem>
#include <string>
#include <string_view>

/** Adds saved jobs to the Notes application, by a script that it composes and runs. */
namespace korvane::NotesBridge {

/** Why a job is not in Notes. */
struct NotesError {
    enum class Code {
        scriptCompileFailed,
        /** Also for a source that is not a program, which shows only when it runs. */
        scriptRunFailed,
        scriptReturnedNothing,
    };

    Code code = Code::scriptReturnedNothing;
    /** What the script runner says of it, if anything. */
    std::string text;

    /** In words for the user. */
    std::string description() const;

    friend bool operator==(const NotesError&, const NotesError&) = default;
};

/**
 * Makes a note named `title` that holds `text` and has the PDF attached, in the folder of that
 * name, which is made if it is missing. A blank folder name stands for "Notes". Blocks until the
 * application is done, which may have to start first: never call it on the main queue. Gives the
 * note's id.
 */
Result<std::string, NotesError> addNote(std::string_view title, std::string_view text,
                                        std::string_view folderName,
                                        const std::filesystem::path& pdf,
                                        const ScriptRunner& runner);

/** The program that adds the note. */
std::string scriptSource(std::string_view title, std::string_view text, std::string_view folderName,
                         const std::filesystem::path& pdf);

} // namespace korvane::NotesBridge
