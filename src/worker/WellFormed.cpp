#include "worker/WellFormed.h"

#include "recognition/DocumentFields.h"
#include "text/CodePoints.h"
#include "text/Text.h"

namespace korvane {

std::string wellFormed(std::string_view text, std::size_t maxBytes)
{
    return text::encodeUTF8(text::codePoints(text::prefixOfSequences(text, maxBytes)));
}

void makeWellFormed(PageReading& reading)
{
    for (TextLine& line : reading.lines) {
        for (TextWord& word : line.words) word.text = wellFormed(word.text, bounds::wordText);
        std::erase_if(line.words, [](const TextWord& word) { return word.text.empty(); });
    }
    std::erase_if(reading.lines, [](const TextLine& line) { return line.words.empty(); });
}

std::string textOf(const PageReading& reading)
{
    std::string text;
    for (const TextLine& line : reading.lines) {
        for (const TextWord& word : line.words) text.append(word.text).append(" ");
        text += '\n';
    }
    return text;
}

} // namespace korvane
