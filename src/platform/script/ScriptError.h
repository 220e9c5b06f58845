#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace korvane {

/** The error information of a script that did not run to its end. */
struct ScriptError {
    /** Of a program that could not be read nothing has been run. */
    enum class Kind { compile, run };

    Kind kind = Kind::run;
    /** What happened, in words for the user. */
    std::optional<std::string> message;
    /** The number that the script language has for it, below zero; 0 for none. */
    int number = 0;
    /** The program's line, counted from 1; 0 for none. */
    std::size_t line = 0;

    /** All of the information as text. */
    std::string description() const;

    friend bool operator==(const ScriptError&, const ScriptError&) = default;
};

/** The numbers of the script language's errors that we report. */
namespace ScriptErrorNumber {

constexpr int fileNotFound = -43;
constexpr int cannotCoerce = -1700;
constexpr int notFound = -1728;
constexpr int notUnderstood = -1708;
constexpr int syntaxError = -2741;
constexpr int stackOverflow = -2706;
constexpr int undefinedVariable = -2753;
constexpr int applicationFailed = -10000;

} // namespace ScriptErrorNumber

} // namespace korvane
