#include "text/DisplayText.h"

#include "text/CodePoints.h"
#include "text/Text.h"

#include <algorithm>

namespace korvane::text {

namespace {

/** In bytes: twice what a letter with its accent takes. */
constexpr std::size_t maxCharacterLength = 8;

std::string_view shown(const Sequence& sequence)
{
    if (!sequence.codePoint) return "\uFFFD";
    if (isControl(*sequence.codePoint) && sequence.bytes != "\n") return " ";
    return reordersText(*sequence.codePoint) ? std::string_view() : sequence.bytes;
}

struct Beginning {
    std::string text;
    bool isCut = false;
};

Beginning shownBeginning(std::string_view text, std::size_t limit)
{
    const std::size_t maxLength = limit * maxCharacterLength;
    // Enough to fill what may be shown, of a text that may be megabytes long.
    std::string_view rest = prefixOfSequences(text, 2 * maxLength);
    const bool isCut = rest.size() < text.size();
    std::string whole;
    while (!rest.empty()) whole += shown(takeSequence(rest));
    const std::string_view kept = prefixFitting(prefix(whole, limit), maxLength);
    return {.text = std::string(kept), .isCut = isCut || kept.size() < whole.size()};
}

std::string onOneLine(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    return text;
}

} // namespace

std::string displayText(std::string_view text, std::size_t limit)
{
    const Beginning beginning = shownBeginning(text, limit);
    return beginning.text + (beginning.isCut ? "…" : "");
}

std::string displayLine(std::string_view text, std::size_t limit)
{
    return onOneLine(displayText(text, limit));
}

std::string displayTitle(std::string_view text, std::size_t limit)
{
    const std::string line = onOneLine(shownBeginning(trimmingSpace(text), limit).text);
    const std::string_view title = trimmingSpace(line);
    return title.empty() ? "Untitled" : std::string(title);
}

} // namespace korvane::text
