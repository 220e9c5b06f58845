#include "platform/notes/GnoteNotes.h"

#include "platform/notes/NoteText.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t longestTitle = 200;
constexpr unsigned mostOfOneTitle = 1000;

/** Gnote keeps a note's notebook as a tag of this form. Controls would spoil its file, and a note
 * whose tag has space at its ends would be in no notebook that Gnote shows. */
std::string notebookTag(std::string_view folder)
{
    constexpr std::size_t longestName = 200;
    return "system:notebook:" + NoteText::title(folder, longestName);
}

/** The name as Gnote keeps it as a title: without punctuation at its ends. */
std::string noteTitle(std::string_view name)
{
    static constexpr std::string_view trimmed = ".,; ";
    const std::string title = NoteText::title(name, longestTitle);
    const std::size_t begin = title.find_first_not_of(trimmed);
    if (begin == std::string::npos) return "Untitled";
    return title.substr(begin, title.find_last_not_of(trimmed) + 1 - begin);
}

/** The body without its heading, which is the note's title and stands in its first line anyway. */
std::string_view withoutHeading(std::string_view body)
{
    static constexpr std::string_view begin = "<h1>", end = "</h1>\n";
    const std::size_t length = body.starts_with(begin) ? body.find(end) : std::string_view::npos;
    return length == std::string_view::npos ? body : body.substr(length + end.size());
}

/** What people read in a note's content. */
std::string readable(const std::string& xml)
{
    return std::string(text::trimmingSpace(NoteText::withoutMarkup(xml)));
}

} // namespace

GnoteNotes::GnoteNotes(std::unique_ptr<GnoteRemote> gnote) : gnote_(std::move(gnote)) {}

Result<bool, NotesFailure> GnoteNotes::folderExists(const std::string& name)
{
    return gnote_->getAllNotesWithTag(notebookTag(name)).map([](const auto& notes) {
        return !notes.empty();
    });
}

Result<void, NotesFailure> GnoteNotes::makeFolder(const std::string& /*name*/)
{
    return {};
}

Result<std::string, NotesFailure>
GnoteNotes::makeNote(const std::string& folder, const std::string& name, const std::string& body)
{
    Note note{.title = noteTitle(name),
              .text = NoteText::allowedInXML(NoteText::withoutMarkup(withoutHeading(body)))};
    auto uri = makeEmptyNote(note);
    if (!uri) return uri;
    notes_.insert_or_assign(*uri, note);
    const auto written = addToNotebook(*uri, folder).and_then([&] { return write(*uri, note); });
    if (written) return uri;
    deleteNote(*uri);
    return failure(written.error());
}

Result<std::string, NotesFailure> GnoteNotes::makeEmptyNote(Note& note)
{
    const std::string title = std::exchange(note.title, {});
    for (unsigned number = 1; number <= mostOfOneTitle; ++number) {
        note.title = number == 1 ? title : fmt::format("{} ({})", title, number);
        auto uri = gnote_->createNamedNote(note.title);
        if (!uri || !uri->empty()) return uri;
    }
    return failure(NotesFailure{"Gnote made no note of the title \"" + title + "\"."});
}

Result<void, NotesFailure> GnoteNotes::addToNotebook(const std::string& uri,
                                                     const std::string& folder)
{
    const auto added = gnote_->addTagToNote(uri, notebookTag(folder));
    if (!added) return failure(added.error());
    if (!*added) return failure(NotesFailure{"Gnote has no notebook \"" + folder + "\"."});
    return {};
}

Result<void, NotesFailure> GnoteNotes::write(const std::string& uri, const Note& note)
{
    std::string xml = "<note-content version=\"0.1\" "
                      "xmlns:link=\"http://beatniksoftware.com/tomboy/link\">" +
                      NoteText::xmlEscape(note.title) + "\n\n" + NoteText::xmlEscape(note.text);
    for (const std::string& attachment : note.attachments) {
        xml += "\n\n<link:url>" + NoteText::xmlEscape(attachment) + "</link:url>";
    }
    xml += "</note-content>";
    const auto set = gnote_->setNoteContentsXml(uri, xml);
    if (!set) return failure(set.error());
    const auto kept = gnote_->getNoteContentsXml(uri);
    if (!kept) return failure(kept.error());
    if (*set && readable(*kept) == readable(xml)) return {};
    return failure(NotesFailure{"Gnote did not take the note's text."});
}

Result<void, NotesFailure> GnoteNotes::makeAttachment(const std::string& noteID,
                                                      const std::filesystem::path& file)
{
    const auto found = notes_.find(noteID);
    if (found == notes_.end()) return failure(NotesFailure{"There is no note " + noteID + "."});
    found->second.attachments.push_back(NoteText::fileURI(file.native()));
    return write(noteID, found->second);
}

void GnoteNotes::deleteNote(const std::string& noteID)
{
    // An error here would hide the one for which the note goes.
    if (notes_.erase(noteID) > 0) (void)gnote_->deleteNote(noteID);
}

} // namespace korvane
