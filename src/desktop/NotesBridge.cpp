#include "desktop/NotesBridge.h"

#include "desktop/NotesProgram.h"
#include "text/Markup.h"
#include "text/Text.h"

#include <fmt/format.h>

namespace korvane::NotesBridge {

namespace {

using Code = NotesError::Code;
using text::htmlEscape;

std::string htmlBody(std::string_view title, std::string_view text)
{
    return "<h1>" + htmlEscape(title) + "</h1>\n<p style=\"white-space: pre-wrap;\">" +
           htmlEscape(text.empty() ? "(No text recognized)" : text) + "</p>";
}

/** The message, or else all that the error information holds. */
std::string messageOf(const ScriptError& error)
{
    return error.message.value_or(fmt::format("{{Number = {}}}", error.number));
}

} // namespace

std::string NotesError::description() const
{
    switch (code) {
    case Code::scriptCompileFailed: return "AppleScript compile failed: " + text;
    case Code::scriptRunFailed: return "AppleScript run failed: " + text;
    case Code::scriptReturnedNothing: break;
    }
    return "Notes did not return a result.";
}

std::string scriptSource(std::string_view title, std::string_view text, std::string_view folderName,
                         const std::filesystem::path& pdf)
{
    const bool isBlank = text::trimmingSpace(folderName).empty();
    return composeNotesProgram({.folder = std::string(isBlank ? "Notes" : folderName),
                                .title = std::string(title),
                                .body = htmlBody(title, text),
                                .file = pdf});
}

Result<std::string, NotesError> addNote(std::string_view title, std::string_view text,
                                        std::string_view folderName,
                                        const std::filesystem::path& pdf,
                                        const ScriptRunner& runner)
{
    const Script script = runner(scriptSource(title, text, folderName, pdf));
    if (!script) {
        return failure(NotesError{Code::scriptCompileFailed, "NSAppleScript init returned nil"});
    }
    const auto result = script();
    if (!result) return failure(NotesError{Code::scriptRunFailed, messageOf(result.error())});
    if (!*result) return failure(NotesError{Code::scriptReturnedNothing});
    return **result;
}

} // namespace korvane::NotesBridge
