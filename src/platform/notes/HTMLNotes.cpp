#include "platform/notes/HTMLNotes.h"

#include "platform/base/Data.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/Files.h"
#include "platform/notes/NoteFileNaming.h"
#include "platform/notes/NoteText.h"

#include <unistd.h>

#include <cerrno>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr unsigned mostOfOneName = 10000;

NotesFailure cannotWrite(const std::filesystem::path& path, const SystemError& error)
{
    return {"Can't write " + path.native() + ": " + error.description() + "."};
}

std::span<const std::uint8_t> bytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

using Making = std::function<Result<void, SystemError>(const std::filesystem::path& target)>;

/** Makes a file of this name, or with the first number behind it that no other file has. */
Result<std::filesystem::path, NotesFailure> makeFile(const std::filesystem::path& directory,
                                                     std::string_view stem, std::string_view ending,
                                                     const Making& make)
{
    for (unsigned number = 1;; ++number) {
        std::filesystem::path target = directory / numbered(stem, number).append(ending);
        if (number < mostOfOneName && fileExists(target)) continue;
        const auto made = make(target);
        if (made) return target;
        if (made.error().code != EEXIST || number >= mostOfOneName) {
            return failure(cannotWrite(target, made.error()));
        }
    }
}

} // namespace

HTMLNotes::HTMLNotes(std::filesystem::path root) : root_(std::move(root)) {}

std::filesystem::path HTMLNotes::directory(const std::string& folder) const
{
    return root_ / noteDirectoryName(folder);
}

Result<bool, NotesFailure> HTMLNotes::folderExists(const std::string& name)
{
    return isDirectory(directory(name));
}

Result<void, NotesFailure> HTMLNotes::makeFolder(const std::string& name)
{
    const std::filesystem::path path = directory(name);
    createPrivateFolders(path);
    if (isDirectory(path)) return {};
    return failure(NotesFailure{"Can't make the folder " + path.native() + "."});
}

Result<std::string, NotesFailure>
HTMLNotes::makeNote(const std::string& folder, const std::string& name, const std::string& body)
{
    Note note{.name = name, .body = body};
    const std::string content = document(note);
    return makeFile(directory(folder), noteFileStem(name), ".html",
                    [&](const std::filesystem::path& target) {
                        return writeNewFileAtomically(target, bytes(content));
                    })
        .map([&](const std::filesystem::path& path) {
            notes_.insert_or_assign(path.native(), std::move(note));
            return path.native();
        });
}

Result<void, NotesFailure> HTMLNotes::makeAttachment(const std::string& noteID,
                                                     const std::filesystem::path& file)
{
    const auto found = notes_.find(noteID);
    if (found == notes_.end()) return failure(NotesFailure{"There is no note " + noteID + "."});
    const std::filesystem::path path = noteID;
    const auto copy = makeFile(
        path.parent_path(), path.stem().native(), file.extension().native(),
        [&](const std::filesystem::path& target) { return copyToNewFileAtomically(file, target); });
    if (!copy) return failure(copy.error());
    // Kept even if the note cannot be written: it goes when the note is deleted.
    found->second.attachments.push_back(*copy);
    const auto written = writeFileAtomically(path, bytes(document(found->second)));
    if (!written) return failure(cannotWrite(path, written.error()));
    return {};
}

void HTMLNotes::deleteNote(const std::string& noteID)
{
    const auto note = notes_.extract(noteID);
    if (!note) return;
    ::unlink(noteID.c_str());
    for (const auto& attachment : note.mapped().attachments) ::unlink(attachment.c_str());
}

std::string HTMLNotes::document(const Note& note)
{
    std::string text = "<!DOCTYPE html>\n"
                       "<html>\n"
                       "<head>\n"
                       "<meta charset=\"utf-8\">\n"
                       // A note shows text; whatever finds its way into it does not run.
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "style-src 'unsafe-inline'\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width\">\n"
                       "<title>" +
                       NoteText::xmlEscape(NoteText::title(note.name, 200)) +
                       "</title>\n"
                       "<style>body { font-family: sans-serif; line-height: 1.5; max-width: 45em; "
                       "margin: 2em auto; padding: 0 1em; overflow-wrap: anywhere }</style>\n"
                       "</head>\n"
                       "<body>\n" +
                       note.body + "\n";
    for (const auto& attachment : note.attachments) {
        const std::string name = attachment.filename();
        text += "<p><a href=\"" + NoteText::percentEncoded("./" + name) + "\">" +
                NoteText::xmlEscape(name) + "</a></p>\n";
    }
    return NoteText::allowedInXML(text + "</body>\n</html>\n");
}

} // namespace korvane
