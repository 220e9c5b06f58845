#include "platform/text/DisplayText.h"

#include "platform/text/Text.h"

#include <algorithm>

namespace korvane::text {

namespace {

constexpr std::string_view ellipsis = "…";

/** A character of one letter and its accent fits twice. */
constexpr std::size_t bytesACharacter = 8;

bool isControl(std::string_view sequence)
{
    if (sequence.size() == 1) return (sequence < " " && sequence != "\n") || sequence == "\x7F";
    const bool isC1 = sequence >= "\xC2\x80" && sequence <= "\xC2\x9F";
    return isC1 || sequence == "\u2028" || sequence == "\u2029";
}

bool reorders(std::string_view sequence)
{
    // U+202A to U+202E and U+2066 to U+2069.
    return (sequence >= "\xE2\x80\xAA" && sequence <= "\xE2\x80\xAE") ||
           (sequence >= "\xE2\x81\xA6" && sequence <= "\xE2\x81\xA9");
}

std::string_view shown(std::string_view sequence)
{
    if (sequence.empty()) return "\uFFFD";
    if (isControl(sequence)) return " ";
    return reorders(sequence) ? std::string_view() : sequence;
}

} // namespace

std::string displayText(std::string_view text, std::size_t limit)
{
    const std::size_t mostBytes = limit * bytesACharacter;
    // Enough to fill what may be shown, of a text that may be megabytes long.
    std::string_view rest = prefixOfSequences(text, 2 * mostBytes);
    bool isCut = rest.size() < text.size();
    std::string whole;
    while (!rest.empty()) {
        const std::string_view sequence = firstSequence(rest);
        whole += shown(sequence);
        rest.remove_prefix(std::max<std::size_t>(sequence.size(), 1));
    }
    const std::string_view kept = prefixFitting(prefix(whole, limit), mostBytes);
    isCut = isCut || kept.size() < whole.size();
    return std::string(kept).append(isCut ? ellipsis : "");
}

std::string displayLine(std::string_view text, std::size_t limit)
{
    std::string line = displayText(text, limit);
    std::ranges::replace(line, '\n', ' ');
    return line;
}

} // namespace korvane::text
