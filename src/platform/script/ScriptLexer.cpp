#include "platform/script/ScriptLexer.h"

#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

/** Joins two lines of the program into one. */
constexpr std::string_view continuation = "\u00AC";

constexpr std::string_view symbols = "(){}:,";

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isWordCharacter(char c)
{
    return isLetter(c) || (c >= '0' && c <= '9');
}

std::size_t wordLength(std::string_view text)
{
    const auto end = std::ranges::find_if_not(text, isWordCharacter);
    return static_cast<std::size_t>(end - text.begin());
}

} // namespace

ScriptError syntaxError(std::size_t line, std::string message)
{
    return {.kind = ScriptError::Kind::compile,
            .message = fmt::format("Line {}: {}", line, std::move(message)),
            .number = ScriptErrorNumber::syntaxError,
            .line = line};
}

Result<ScriptToken, ScriptError> ScriptLexer::next()
{
    if (const auto skipped = skipSpace(); !skipped) return failure(skipped.error());
    if (rest_.empty()) return take(ScriptToken::Kind::programEnd, 0);
    const char first = rest_.front();
    if (first == '"') return textLiteral();
    if (isLetter(first)) return take(ScriptToken::Kind::word, wordLength(rest_));
    if (symbols.find(first) != std::string_view::npos) return take(ScriptToken::Kind::symbol, 1);
    if (first == '\n') {
        ScriptToken token = take(ScriptToken::Kind::lineEnd, 1);
        ++line_;
        return token;
    }
    return failure(unexpected());
}

Result<void, ScriptError> ScriptLexer::skipSpace()
{
    for (;;) {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size()));
        if (!rest_.starts_with(continuation)) return {};
        if (auto skipped = skipContinuation(); !skipped) return skipped;
    }
}

Result<void, ScriptError> ScriptLexer::skipContinuation()
{
    rest_.remove_prefix(continuation.size());
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size()));
    if (!rest_.starts_with('\n')) return failure(unexpected());
    rest_.remove_prefix(1);
    ++line_;
    return {};
}

Result<ScriptToken, ScriptError> ScriptLexer::textLiteral()
{
    ScriptToken token{.kind = ScriptToken::Kind::text, .line = line_};
    const std::string_view start = rest_;
    rest_.remove_prefix(1);
    for (;;) {
        takePlainText(token.text);
        if (rest_.empty()) {
            return failure(syntaxError(token.line, "the text that begins here has no end."));
        }
        if (rest_.front() == '"') break;
        const auto character = escapedCharacter();
        if (!character) return failure(character.error());
        token.text += *character;
    }
    rest_.remove_prefix(1);
    token.source = start.substr(0, start.size() - rest_.size());
    return token;
}

void ScriptLexer::takePlainText(std::string& text)
{
    const std::string_view plain = rest_.substr(0, rest_.find_first_of("\"\\"));
    line_ += static_cast<std::size_t>(std::ranges::count(plain, '\n'));
    text += plain;
    rest_.remove_prefix(plain.size());
}

Result<char, ScriptError> ScriptLexer::escapedCharacter()
{
    static constexpr std::string_view escapes = "\\\"nrt";
    static constexpr std::string_view meanings = "\\\"\n\r\t";
    const std::size_t index = rest_.size() < 2 ? std::string_view::npos : escapes.find(rest_[1]);
    if (index == std::string_view::npos) return failure(unexpected());
    rest_.remove_prefix(2);
    return meanings[index];
}

ScriptToken ScriptLexer::take(ScriptToken::Kind kind, std::size_t length)
{
    ScriptToken token{.kind = kind, .source = rest_.substr(0, length), .line = line_};
    rest_.remove_prefix(length);
    return token;
}

ScriptError ScriptLexer::unexpected() const
{
    constexpr std::size_t quoted = 20;
    return syntaxError(line_, fmt::format("nothing in the language begins with \"{}\".",
                                          text::prefixOfSequences(rest_, quoted)));
}

} // namespace korvane
