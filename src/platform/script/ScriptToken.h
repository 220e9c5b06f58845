#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/** One word of a program. */
struct ScriptToken {
    enum class Kind { word, text, symbol, lineEnd, programEnd };

    Kind kind = Kind::programEnd;
    /** As it stands in the program. */
    std::string_view source;
    /** What a string literal stands for, its escapes resolved. */
    std::string text;
    /** The line on which it begins, counted from 1. */
    std::size_t line = 1;

    bool isWord(std::string_view word) const { return kind == Kind::word && source == word; }
    bool isSymbol(std::string_view symbol) const
    {
        return kind == Kind::symbol && source == symbol;
    }
};

} // namespace korvane
