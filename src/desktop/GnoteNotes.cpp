#include "desktop/GnoteNotes.h"

#include "text/DisplayText.h"
#include "text/Markup.h"
#include "text/PercentEncoding.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <string_view>

namespace korvane {

namespace {

using text::htmlEscape;

constexpr std::size_t maxTitleLength = 200;
constexpr unsigned maxSameTitles = 1000;

/** Gnote keeps a note's notebook as a tag of this form. Controls would make its file
 * invalid XML, and Gnote shows no notebook whose name has space at its ends. */
std::string notebookTag(std::string_view folder)
{
    return "system:notebook:" + text::displayTitle(folder, maxTitleLength);
}

/** The title as Gnote keeps it: without punctuation at its ends. */
std::string noteTitle(std::string_view title)
{
    static constexpr std::string_view trimmed = ".,; ";
    const std::string line = text::displayTitle(title, maxTitleLength);
    const std::size_t begin = line.find_first_not_of(trimmed);
    if (begin == std::string::npos) return "Untitled";
    return line.substr(begin, line.find_last_not_of(trimmed) + 1 - begin);
}

/** The body without its heading, which is the note's title and stands in its first line anyway. */
std::string_view withoutHeading(std::string_view body)
{
    static constexpr std::string_view begin = "<h1>", end = "</h1>\n";
    const std::size_t length = body.starts_with(begin) ? body.find(end) : std::string_view::npos;
    return length == std::string_view::npos ? body : body.substr(length + end.size());
}

std::string contentOf(std::string_view title, const Note& note)
{
    const std::string text = text::allowedInXML(text::withoutMarkup(withoutHeading(note.body)));
    return "<note-content version=\"0.1\" "
           "xmlns:link=\"http://beatniksoftware.com/tomboy/link\">" +
           htmlEscape(title) + "\n\n" + htmlEscape(text) + "\n\n<link:url>" +
           htmlEscape(text::fileURI(note.file.native())) + "</link:url></note-content>";
}

/** The plain text of a note's content. */
std::string readable(const std::string& xml)
{
    return std::string(text::trimmingSpace(text::withoutMarkup(xml)));
}

} // namespace

Result<std::string, NotesFailure> GnoteNotes::addNote(const Note& note)
{
    const auto made = makeEmptyNote(noteTitle(note.title));
    if (!made) return failure(made.error());
    const std::string& uri = made->uri;
    const auto filled = addToNotebook(uri, note.folder).and_then([&] {
        return setContent(uri, contentOf(made->title, note));
    });
    if (filled) return uri;
    // An error here would hide the one for which the note is deleted.
    (void)gnote_->call<bool>("DeleteNote", {uri});
    return failure(filled.error());
}

Result<GnoteNotes::Place, NotesFailure> GnoteNotes::makeEmptyNote(const std::string& title)
{
    for (unsigned number = 1; number <= maxSameTitles; ++number) {
        std::string numbered = number == 1 ? title : fmt::format("{} ({})", title, number);
        const auto uri = gnote_->call<std::string>("CreateNamedNote", {numbered});
        if (!uri) return failure(uri.error());
        // Empty when another note has the title.
        if (!uri->empty()) return Place{*uri, std::move(numbered)};
    }
    return failure(NotesFailure{"Gnote made no note of the title \"" + title + "\"."});
}

Result<void, NotesFailure> GnoteNotes::addToNotebook(const std::string& uri,
                                                     const std::string& folder)
{
    const auto added = gnote_->call<bool>("AddTagToNote", {uri, notebookTag(folder)});
    if (!added) return failure(added.error());
    if (!*added) return failure(NotesFailure{"Gnote has no notebook \"" + folder + "\"."});
    return {};
}

Result<void, NotesFailure> GnoteNotes::setContent(const std::string& uri, const std::string& xml)
{
    const auto set = gnote_->call<bool>("SetNoteContentsXml", {uri, xml});
    if (!set) return failure(set.error());
    // Gnote says true also for XML that it could not read.
    const auto kept = gnote_->call<std::string>("GetNoteContentsXml", {uri});
    if (!kept) return failure(kept.error());
    if (*set && readable(*kept) == readable(xml)) return {};
    return failure(NotesFailure{"Gnote did not accept the note's text."});
}

} // namespace korvane
