#include "text/Markup.h"

#include "text/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace korvane::text {

namespace {

using Entity = std::pair<char, std::string_view>;

/** A character's first entity is the one that is written. */
constexpr auto entities = std::to_array<Entity>({{'&', "&amp;"},
                                                 {'<', "&lt;"},
                                                 {'>', "&gt;"},
                                                 {'"', "&quot;"},
                                                 {'\'', "&#39;"},
                                                 {'\'', "&apos;"}});

/** Resolves the entity that the markup begins with; an ampersand that begins none is itself. */
char takeEntity(std::string_view& markup)
{
    for (const auto& [character, entity] : entities) {
        if (!markup.starts_with(entity)) continue;
        markup.remove_prefix(entity.size());
        return character;
    }
    markup.remove_prefix(1);
    return '&';
}

std::string escaped(std::string_view text, std::string_view characters)
{
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (characters.find(c) == std::string_view::npos) {
            result += c;
        } else {
            result += std::ranges::find(entities, c, &Entity::first)->second;
        }
    }
    return result;
}

bool isAllowedInXML(char32_t codePoint)
{
    return codePoint >= 0x20 ? codePoint != 0xFFFE && codePoint != 0xFFFF
                             : codePoint == '\t' || codePoint == '\n';
}

} // namespace

std::string htmlEscape(std::string_view text)
{
    return escaped(text, "&<>\"'");
}

std::string contentEscape(std::string_view text)
{
    return escaped(text, "&<>");
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

std::string allowedInXML(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Sequence sequence = takeSequence(text);
        if (sequence.bytes == "\r") {
            if (!text.starts_with('\n')) result += '\n';
        } else if (sequence.codePoint && isAllowedInXML(*sequence.codePoint)) {
            result += sequence.bytes;
        }
    }
    return result;
}

} // namespace korvane::text
