#include "platform/notes/NoteFileNaming.h"
#include "platform/notes/NoteText.h"
#include "platform/text/Text.h"

#include <cstdlib>
#include <string>
#include <string_view>

/** Any bytes as a name and as the text of a note. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace korvane;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const std::string& name : {noteDirectoryName(text), noteFileStem(text)}) {
        const bool isSafe = !name.empty() && name.size() <= 245 && name.front() != '.' &&
                            name.find_first_of("/\n\x7F") == std::string::npos &&
                            name.find('\0') == std::string::npos && text::isWellFormedUTF8(name);
        if (!isSafe) std::abort();
    }
    const std::string kept = NoteText::allowedInXML(text);
    if (NoteText::withoutMarkup(NoteText::xmlEscape(kept)) != kept) std::abort();
    if (NoteText::withoutMarkup(text).size() > text.size()) std::abort();
    return 0;
}
