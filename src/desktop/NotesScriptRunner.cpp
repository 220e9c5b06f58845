#include "desktop/NotesScriptRunner.h"

#include "base/Files.h"
#include "desktop/NotesProgram.h"
#include "text/Text.h"

#include <string_view>
#include <utility>

namespace korvane {

namespace {

/** AppleScript's error numbers. */
constexpr int fileNotFound = -43;
constexpr int syntaxError = -2741;
constexpr int applicationFailed = -10000;

Result<std::optional<std::string>, ScriptError> run(std::string_view source,
                                                    NotesApplication& application)
{
    const auto note = matchNotesProgram(source);
    if (!note)
        return failure(ScriptError{"This is not the program that adds a note.", syntaxError});
    if (!fileExists(note->file)) {
        return failure(ScriptError{"File " + note->file.native() + " wasn't found.", fileNotFound});
    }
    const auto id = application.addNote(*note);
    if (!id) return failure(ScriptError{id.error().description, applicationFailed});
    return id->empty() ? std::nullopt : std::optional(*id);
}

} // namespace

ScriptRunner notesScriptRunner(NotesApplication& application)
{
    return [&application](std::string source) -> Script {
        if (!text::isWellFormedUTF8(source)) return {};
        return [&application, source = std::move(source)] { return run(source, application); };
    };
}

} // namespace korvane
