#include "desktop/NotesBridge.h"

#include "platform/text/Text.h"

namespace korvane::NotesBridge {

namespace {

struct Describe {
    std::string operator()(const NotesError::ScriptCompileFailed& error) const
    {
        return "AppleScript compile failed: " + error.text;
    }
    std::string operator()(const NotesError::ScriptRunFailed& error) const
    {
        return "AppleScript run failed: " + error.text;
    }
    std::string operator()(NotesError::ScriptReturnedNothing /*error*/) const
    {
        return "Notes did not return a result.";
    }
};

/** The text with what `replacement` gives in place of a character; an empty one keeps it. */
template <typename Replacement>
std::string replacing(std::string_view text, Replacement replacement)
{
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        const std::string_view instead = replacement(c);
        if (instead.empty()) {
            result += c;
        } else {
            result += instead;
        }
    }
    return result;
}

std::string_view entity(char c)
{
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    case '\'': return "&#39;";
    default: return {};
    }
}

std::string_view escapeSequence(char c)
{
    switch (c) {
    case '\\': return "\\\\";
    case '"': return "\\\"";
    default: return {};
    }
}

std::string htmlBody(std::string_view title, std::string_view text)
{
    return "<h1>" + htmlEscape(title) + "</h1>\n<p style=\"white-space: pre-wrap;\">" +
           htmlEscape(text.empty() ? "(No text recognized)" : text) + "</p>";
}

} // namespace

std::string NotesError::description() const
{
    return std::visit(Describe{}, value);
}

std::string htmlEscape(std::string_view text)
{
    return replacing(text, entity);
}

std::string appleScriptEscape(std::string_view text)
{
    return replacing(text, escapeSequence);
}

std::string scriptSource(std::string_view title, std::string_view text, std::string_view folderName,
                         const std::filesystem::path& pdf)
{
    const std::string_view folder = text::trimmingSpace(folderName).empty() ? "Notes" : folderName;
    return "on findOrMakeFolder(folderName)\n"
           "    tell application \"Notes\"\n"
           "        if not (exists folder folderName) then\n"
           "            make new folder with properties {name:folderName}\n"
           "        end if\n"
           "        return folder folderName\n"
           "    end tell\n"
           "end findOrMakeFolder\n"
           "\n"
           "tell application \"Notes\"\n"
           "    set targetFolder to my findOrMakeFolder(\"" +
           appleScriptEscape(folder) +
           "\")\n"
           "    set newNote to make new note at targetFolder with properties \u00AC\n"
           "        {name:\"" +
           appleScriptEscape(title) + "\", body:\"" + appleScriptEscape(htmlBody(title, text)) +
           "\"}\n"
           "    set pdfFile to POSIX file \"" +
           appleScriptEscape(pdf.native()) +
           "\" as alias\n"
           "    make new attachment at newNote with data pdfFile\n"
           "    return id of newNote\n"
           "end tell";
}

Result<void, NotesError> addNote(std::string_view title, std::string_view text,
                                 std::string_view folderName, const std::filesystem::path& pdf,
                                 const ScriptRunner& runner)
{
    const auto script = runner.makeScript(scriptSource(title, text, folderName, pdf));
    if (!script) {
        return failure(
            NotesError{NotesError::ScriptCompileFailed{"NSAppleScript init returned nil"}});
    }
    const auto result = script->execute();
    if (!result) {
        const ScriptError& error = result.error();
        return failure(
            NotesError{NotesError::ScriptRunFailed{error.message.value_or(error.description())}});
    }
    if (result->descriptorType == ScriptDescriptor::Type::null) {
        return failure(NotesError{NotesError::ScriptReturnedNothing{}});
    }
    return {};
}

} // namespace korvane::NotesBridge
