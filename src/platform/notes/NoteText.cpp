#include "platform/notes/NoteText.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace korvane::NoteText {

namespace {

/** A code point at the front of a text, or the one byte of an ill-formed sequence. */
struct Piece {
    std::string_view bytes;
    std::optional<char32_t> codePoint;
};

Piece takePiece(std::string_view& text)
{
    const std::size_t length = std::max<std::size_t>(text::firstSequence(text).size(), 1);
    const Piece piece{text.substr(0, length), text::firstCodePoint(text)};
    text.remove_prefix(length);
    return piece;
}

/** C0 and C1 controls, and the separators of lines and paragraphs. */
bool isControl(char32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F) || codePoint == 0x2028 ||
           codePoint == 0x2029;
}

/** The embeddings, overrides and isolates of the bidirectional algorithm (UAX #9, section 2). */
bool turnsDirection(char32_t codePoint)
{
    return (codePoint >= 0x202A && codePoint <= 0x202E) ||
           (codePoint >= 0x2066 && codePoint <= 0x2069);
}

bool isAllowedInXML(char32_t codePoint)
{
    return codePoint >= 0x20 ? codePoint != 0xFFFE && codePoint != 0xFFFF
                             : codePoint == '\t' || codePoint == '\n';
}

constexpr auto entities = std::to_array<std::pair<std::string_view, char>>({{"&amp;", '&'},
                                                                            {"&lt;", '<'},
                                                                            {"&gt;", '>'},
                                                                            {"&quot;", '"'},
                                                                            {"&apos;", '\''},
                                                                            {"&#39;", '\''}});

/** Resolves the entity that the markup begins with; an ampersand that begins none is itself. */
char takeEntity(std::string_view& markup)
{
    const auto* const entity = std::ranges::find_if(
        entities, [&](const auto& known) { return markup.starts_with(known.first); });
    const bool isKnown = entity != entities.end();
    markup.remove_prefix(isKnown ? entity->first.size() : 1);
    return isKnown ? entity->second : '&';
}

} // namespace

std::string allowedInXML(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Piece piece = takePiece(text);
        if (piece.bytes == "\r") {
            if (!text.starts_with('\n')) result += '\n';
        } else if (piece.codePoint && isAllowedInXML(*piece.codePoint)) {
            result += piece.bytes;
        }
    }
    return result;
}

std::string xmlEscape(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += "&quot;"; break;
        default: result += c;
        }
    }
    return result;
}

std::string withoutMarkup(std::string_view markup)
{
    std::string result;
    result.reserve(markup.size());
    for (;;) {
        const std::string_view plain = markup.substr(0, markup.find_first_of("<&"));
        result += plain;
        markup.remove_prefix(plain.size());
        if (markup.empty()) return result;
        if (markup.front() == '&') {
            result += takeEntity(markup);
        } else {
            markup.remove_prefix(std::min(markup.find('>'), markup.size() - 1) + 1);
        }
    }
}

std::string title(std::string_view text, std::size_t count)
{
    // A character may be many code points, so this much is cut before them.
    constexpr std::size_t longestCharacter = 64;
    text = text::prefixOfSequences(text, count * longestCharacter);
    std::string line;
    while (!text.empty()) {
        const Piece piece = takePiece(text);
        if (!piece.codePoint || turnsDirection(*piece.codePoint)) continue;
        line += isControl(*piece.codePoint) ? " " : piece.bytes;
    }
    const std::string_view trimmed =
        text::trimmingSpace(text::prefix(text::trimmingSpace(line), count));
    return trimmed.empty() ? "Untitled" : std::string(trimmed);
}

std::string fileURI(std::string_view path)
{
    return "file://" + percentEncoded(path);
}

std::string percentEncoded(std::string_view path)
{
    static constexpr std::string_view kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size());
    for (const char c : path) {
        if (kept.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += digits[byte >> 4];
            encoded += digits[byte & 0xF];
        }
    }
    return encoded;
}

} // namespace korvane::NoteText
