#include "platform/notes/NoteText.h"

#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace korvane::NoteText {

namespace {

/** A code point at the front of a text, or the one byte of an ill-formed sequence. */
struct Piece {
    std::string_view bytes;
    bool isWellFormed = true;
};

Piece takePiece(std::string_view& text)
{
    const std::string_view sequence = text::firstSequence(text);
    const Piece piece{sequence.empty() ? text.substr(0, 1) : sequence, !sequence.empty()};
    text.remove_prefix(piece.bytes.size());
    return piece;
}

bool isControl(std::string_view character)
{
    if (character.size() == 1) {
        const auto byte = static_cast<unsigned char>(character.front());
        return byte < 0x20 || byte == 0x7F;
    }
    // C1 controls, and the line and paragraph separators.
    return (character >= "\xC2\x80" && character <= "\xC2\x9F") || character == "\u2028" ||
           character == "\u2029";
}

/** The embeddings, overrides and isolates of the bidirectional algorithm (UAX #9, section 2). */
bool turnsDirection(std::string_view character)
{
    return (character >= "\u202A" && character <= "\u202E") ||
           (character >= "\u2066" && character <= "\u2069");
}

bool isAllowedInXML(const Piece& piece)
{
    if (!piece.isWellFormed || piece.bytes == "\uFFFE" || piece.bytes == "\uFFFF") return false;
    const char first = piece.bytes.front();
    return piece.bytes.size() > 1 || static_cast<unsigned char>(first) >= 0x20 || first == '\t' ||
           first == '\n';
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
        } else if (isAllowedInXML(piece)) {
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
        if (!piece.isWellFormed || turnsDirection(piece.bytes)) continue;
        line += isControl(piece.bytes) ? " " : piece.bytes;
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
