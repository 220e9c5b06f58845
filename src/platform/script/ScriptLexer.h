#pragma once

#include "platform/base/Result.h"
#include "platform/script/ScriptError.h"
#include "platform/script/ScriptToken.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/** Takes a program apart into words, in time proportional to its length. */
class ScriptLexer {
public:
    /** `source` outlives the lexer and its tokens. */
    explicit ScriptLexer(std::string_view source) : rest_(source) {}

    /** The next token; at the end of the program always a programEnd. After an error there is no
     *  next one. */
    Result<ScriptToken, ScriptError> next();

private:
    Result<void, ScriptError> skipSpace();
    Result<void, ScriptError> skipContinuation();
    Result<ScriptToken, ScriptError> textLiteral();
    /** Takes the bytes up to the end of a literal's part that needs no resolving. */
    void takePlainText(std::string& text);
    Result<char, ScriptError> escapedCharacter();
    ScriptToken take(ScriptToken::Kind kind, std::size_t length);
    ScriptError unexpected() const;

    std::string_view rest_;
    std::size_t line_ = 1;
};

/** The error of a program that breaks off or goes on differently than the language allows. */
ScriptError syntaxError(std::size_t line, std::string message);

} // namespace korvane
