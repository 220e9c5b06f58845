#pragma once

#include "platform/base/Result.h"
#include "platform/script/ScriptRunner.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

/**
 * Adds saved jobs to the Notes application, by a script that it writes and has run. Keeps no state.
 */
namespace korvane::NotesBridge {

/** Why a job is not in Notes. */
struct NotesError {
    struct ScriptCompileFailed {
        std::string text;
        friend bool operator==(const ScriptCompileFailed&, const ScriptCompileFailed&) = default;
    };
    /** Also what the program's text has against it, which shows only when it runs. */
    struct ScriptRunFailed {
        std::string text;
        friend bool operator==(const ScriptRunFailed&, const ScriptRunFailed&) = default;
    };
    struct ScriptReturnedNothing {
        friend bool operator==(const ScriptReturnedNothing&,
                               const ScriptReturnedNothing&) = default;
    };

    std::variant<ScriptCompileFailed, ScriptRunFailed, ScriptReturnedNothing> value;

    /** In words for the user. */
    std::string description() const;

    friend bool operator==(const NotesError&, const NotesError&) = default;
};

/**
 * Makes a note named `title` that holds `text` and has the PDF attached, in the folder of that
 * name, which is made if it is missing. A blank folder name stands for "Notes". Blocks until the
 * application is done, which may have to start first: never call it on the main queue.
 */
Result<void, NotesError> addNote(std::string_view title, std::string_view text,
                                 std::string_view folderName, const std::filesystem::path& pdf,
                                 const ScriptRunner& runner);

/** The program that adds the note. */
std::string scriptSource(std::string_view title, std::string_view text, std::string_view folderName,
                         const std::filesystem::path& pdf);

/** The text as HTML shows it: the five characters that mean something there as their entities. */
std::string htmlEscape(std::string_view text);

/** The text as a string literal of the script language holds it. */
std::string appleScriptEscape(std::string_view text);

} // namespace korvane::NotesBridge
