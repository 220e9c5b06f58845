#include "desktop/NoteFileNaming.h"
#include "desktop/NotesProgram.h"
#include "text/Markup.h"
#include "text/Text.h"

#include <cstdlib>
#include <string>
#include <string_view>

using namespace korvane;

namespace {

void require(bool holds)
{
    if (!holds) std::abort();
}

void checkNames(std::string_view text)
{
    for (const std::string& name : {noteDirectoryName(text), noteFileStem(text)}) {
        require(!name.empty() && name.size() <= 80 * 8 && name.front() != '.');
        require(name.find_first_of("/\n\x7F") == std::string::npos &&
                name.find('\0') == std::string::npos && text::isWellFormedUTF8(name));
    }
    require(noteDirectoryName(text).size() <= 255);
}

void checkMarkup(std::string_view text)
{
    const std::string kept = text::allowedInXML(text);
    require(text::withoutMarkup(text::htmlEscape(kept)) == kept);
    require(text::withoutMarkup(text).size() <= text.size());
}

/** What goes into the program comes out again; another text is the program only if it is that of
 *  some note. */
void checkProgram(const std::string& text)
{
    const std::size_t half = text.size() / 2;
    const Note note{.folder = text.substr(0, half),
                    .title = text.substr(half),
                    .body = text,
                    .file = text.substr(0, half)};
    require(matchNotesProgram(composeNotesProgram(note)) == note);
    const auto other = matchNotesProgram(text);
    require(!other || composeNotesProgram(*other) == text);
}

} // namespace

/** Any bytes as a name, as the text of a note and as a program. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkNames(text);
    checkMarkup(text);
    checkProgram(text);
    return 0;
}
