#include "desktop/HTMLNotes.h"

#include "base/AtomicFile.h"
#include "base/Files.h"
#include "desktop/NoteFileNaming.h"
#include "text/DisplayText.h"
#include "text/FileName.h"
#include "text/Markup.h"
#include "text/PercentEncoding.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace korvane {

namespace {

constexpr unsigned maxSameNames = 10000;
constexpr std::size_t maxTitleLength = 200;

NotesFailure cannotWrite(const std::filesystem::path& path, const SystemError& error)
{
    return {"Can't write " + path.native() + ": " + error.description() + "."};
}

std::span<const std::uint8_t> bytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/** The note as a document that links to the file of this name beside it. */
std::string document(const Note& note, const std::string& fileName)
{
    return text::allowedInXML(
        "<!DOCTYPE html>\n"
        "<html>\n"
        "<head>\n"
        "<meta charset=\"utf-8\">\n"
        // Scripts that a document brings into its note do not run.
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
        "style-src 'unsafe-inline'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width\">\n"
        "<title>" +
        text::htmlEscape(text::displayTitle(note.title, maxTitleLength)) +
        "</title>\n"
        "<style>body { font-family: sans-serif; line-height: 1.5; max-width: 45em; "
        "margin: 2em auto; padding: 0 1em; overflow-wrap: anywhere }</style>\n"
        "</head>\n"
        "<body>\n" +
        note.body + "\n<p><a href=\"./" + text::percentEncoded(fileName) + "\">" +
        text::htmlEscape(fileName) + "</a></p>\n</body>\n</html>\n");
}

} // namespace

Result<std::string, NotesFailure> HTMLNotes::addNote(const Note& note)
{
    const std::filesystem::path directory = root_ / noteDirectoryName(note.folder);
    createPrivateFolders(directory);
    if (!isDirectory(directory)) {
        return failure(NotesFailure{"Can't make the folder " + directory.native() + "."});
    }
    const std::string stem = noteFileStem(note.title);
    const std::string extension = note.file.extension().native();
    // The first number that neither a note nor a file has.
    for (unsigned number = 1; number <= maxSameNames; ++number) {
        const std::string suffix = number == 1 ? "" : fmt::format(" {}", number);
        const auto page = directory / text::fittingFileName(stem, suffix + ".html");
        const auto copy = directory / text::fittingFileName(stem, suffix + extension);
        if (fileExists(page) || fileExists(copy)) continue;
        const auto copied = copyToNewFileAtomically(note.file, copy);
        if (!copied && copied.error().code == EEXIST) continue;
        if (!copied) return failure(cannotWrite(copy, copied.error()));
        const auto written = writeNewFileAtomically(page, bytes(document(note, copy.filename())));
        if (written) return page.native();
        ::unlink(copy.c_str());
        if (written.error().code != EEXIST) return failure(cannotWrite(page, written.error()));
    }
    return failure(NotesFailure{"There are too many notes named " + stem + "."});
}

} // namespace korvane
