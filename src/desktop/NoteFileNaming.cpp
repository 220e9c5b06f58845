#include "desktop/NoteFileNaming.h"

#include "text/CodePoints.h"
#include "text/DisplayText.h"
#include "text/FileName.h"
#include "text/PercentEncoding.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <cstdint>

namespace korvane {

namespace {

/** File systems take 255 bytes; the rest is for the hash. */
constexpr std::size_t maxDirectoryLength = 220;
constexpr std::size_t maxTitleLength = 80;

/** Fixed ranges, so that a folder keeps its name whatever the version of Unicode. */
bool needsEncoding(const text::Sequence& sequence)
{
    if (!sequence.codePoint) return true;
    const char32_t c = *sequence.codePoint;
    return c == '/' || text::isControl(c) || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F);
}

/** FNV-1a, which is the same everywhere and always. */
std::uint64_t hash(std::string_view text)
{
    std::uint64_t value = 0xCBF29CE484222325U;
    for (const char c : text) {
        value ^= static_cast<unsigned char>(c);
        value *= 0x100000001B3U;
    }
    return value;
}

} // namespace

std::string noteDirectoryName(std::string_view folder)
{
    std::string name;
    for (std::string_view rest = folder; !rest.empty();) {
        const bool isHidden = name.empty() && rest.front() == '.';
        const bool looksEncoded = text::beginsPercentEncoded(rest);
        const text::Sequence sequence = text::takeSequence(rest);
        if (isHidden || looksEncoded || needsEncoding(sequence)) {
            name += text::percentEncoded(sequence.bytes, "");
        } else {
            name += sequence.bytes;
        }
    }
    if (name.empty()) return "%";
    if (name.size() <= maxDirectoryLength) return name;
    return fmt::format("{}~{:016X}", text::prefixFitting(name, maxDirectoryLength), hash(folder));
}

std::string noteFileStem(std::string_view title)
{
    const std::string name =
        text::withoutRefusedCharacters(text::displayTitle(title, maxTitleLength));
    const std::size_t begin = name.find_first_not_of(". ");
    if (begin == std::string::npos) return "Untitled";
    return name.substr(begin, name.find_last_not_of(". ") + 1 - begin);
}

} // namespace korvane
