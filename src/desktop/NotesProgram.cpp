#include "desktop/NotesProgram.h"

#include <array>
#include <utility>

namespace korvane {

namespace {

/** Between them stand the folder, the title, the body and the path. */
constexpr std::array<std::string_view, 5> pieces = {
    "on findOrMakeFolder(folderName)\n"
    "    tell application \"Notes\"\n"
    "        if not (exists folder folderName) then\n"
    "            make new folder with properties {name:folderName}\n"
    "        end if\n"
    "        return folder folderName\n"
    "    end tell\n"
    "end findOrMakeFolder\n"
    "\n"
    "tell application \"Notes\"\n"
    "    set targetFolder to my findOrMakeFolder(\"",
    "\")\n"
    "    set newNote to make new note at targetFolder with properties \u00AC\n"
    "        {name:\"",
    "\", body:\"",
    "\"}\n"
    "    set pdfFile to POSIX file \"",
    "\" as alias\n"
    "    make new attachment at newNote with data pdfFile\n"
    "    return id of newNote\n"
    "end tell"};

/** Takes a literal's text up to its closing quotation mark. */
std::optional<std::string> takeLiteral(std::string_view& source)
{
    std::string text;
    for (std::size_t at = 0; at < source.size(); ++at) {
        if (source[at] == '"') {
            source.remove_prefix(at);
            return text;
        }
        if (source[at] == '\\') {
            ++at;
            if (at == source.size() || (source[at] != '\\' && source[at] != '"')) break;
        }
        text += source[at];
    }
    return std::nullopt;
}

} // namespace

std::string composeNotesProgram(const Note& note)
{
    std::string source(pieces[0]);
    source.append(appleScriptEscape(note.folder)).append(pieces[1]);
    source.append(appleScriptEscape(note.title)).append(pieces[2]);
    source.append(appleScriptEscape(note.body)).append(pieces[3]);
    source.append(appleScriptEscape(note.file.native())).append(pieces[4]);
    return source;
}

std::optional<Note> matchNotesProgram(std::string_view source)
{
    Note note;
    std::string path;
    std::size_t index = 0;
    for (std::string* const value : {&note.folder, &note.title, &note.body, &path}) {
        const std::string_view piece = pieces.at(index++);
        if (!source.starts_with(piece)) return std::nullopt;
        source.remove_prefix(piece.size());
        auto literal = takeLiteral(source);
        if (!literal) return std::nullopt;
        *value = *std::move(literal);
    }
    if (source != pieces.back()) return std::nullopt;
    note.file = std::move(path);
    return note;
}

std::string appleScriptEscape(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (c == '\\' || c == '"') escaped += '\\';
        escaped += c;
    }
    return escaped;
}

} // namespace korvane
