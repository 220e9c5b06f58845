#include "platform/notes/NoteFileNaming.h"

#include "platform/notes/NoteText.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace korvane {

namespace {

/** File systems take 255 bytes; the rest is for a number or a hash. */
constexpr std::size_t longestStem = 220;
constexpr std::size_t longestTitle = 80;
constexpr std::string_view refusedSomewhere = R"(/:\?%*|"<>)";

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

/** Whether a percent sign would be taken for one of ours. */
bool looksEncoded(std::string_view text)
{
    return text.size() >= 3 && text[0] == '%' && isHexDigit(text[1]) && isHexDigit(text[2]);
}

/** Controls, and the marks of general punctuation that show nothing or turn the direction. */
bool isDisguise(char32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F) ||
           (codePoint >= 0x200B && codePoint <= 0x200F) ||
           (codePoint >= 0x2028 && codePoint <= 0x202E) ||
           (codePoint >= 0x2060 && codePoint <= 0x206F);
}

bool needsEncoding(std::string_view rest)
{
    const std::optional<char32_t> codePoint = text::firstCodePoint(rest);
    return !codePoint || *codePoint == '/' || isDisguise(*codePoint) || looksEncoded(rest);
}

void appendEncoded(std::string& name, std::string_view bytes)
{
    for (const char c : bytes) name += fmt::format("%{:02X}", static_cast<unsigned char>(c));
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
        const std::size_t length = std::max<std::size_t>(text::firstSequence(rest).size(), 1);
        if (needsEncoding(rest) || (name.empty() && rest.front() == '.')) {
            appendEncoded(name, rest.substr(0, length));
        } else {
            name += rest.substr(0, length);
        }
        rest.remove_prefix(length);
    }
    if (name.empty()) return "%";
    if (name.size() <= longestStem) return name;
    return fmt::format("{}~{:016X}", text::prefixFitting(name, longestStem), hash(folder));
}

std::string noteFileStem(std::string_view title)
{
    std::string name = NoteText::title(title, longestTitle);
    std::ranges::replace_if(
        name, [](char c) { return refusedSomewhere.find(c) != std::string_view::npos; }, '_');
    std::string_view stem = name;
    while (stem.starts_with('.') || stem.starts_with(' ')) stem.remove_prefix(1);
    stem = text::prefixFitting(stem, longestStem);
    while (stem.ends_with('.') || stem.ends_with(' ')) stem.remove_suffix(1);
    return stem.empty() ? "Untitled" : std::string(stem);
}

std::string numbered(std::string_view stem, unsigned number)
{
    return number == 1 ? std::string(stem) : fmt::format("{} {}", stem, number);
}

} // namespace korvane
