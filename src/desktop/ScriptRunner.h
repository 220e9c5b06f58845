#pragma once

#include "base/Result.h"

#include <functional>
#include <optional>
#include <string>

namespace korvane {

/** The error information of a script that did not run to its end. */
struct ScriptError {
    /** What happened, in words for the user. */
    std::optional<std::string> message;
    /** The number that AppleScript has for it, below zero. */
    int number = 0;

    friend bool operator==(const ScriptError&, const ScriptError&) = default;
};

/** A script: runs when it is called, and blocks until it has ended, applications included. Gives
 *  what the script returned as text, or nothing for the null descriptor. */
using Script = std::function<Result<std::optional<std::string>, ScriptError>()>;

/** Makes a script of its source; an empty one when the source is not text. Whether the text is a
 *  program shows when the script runs. */
using ScriptRunner = std::function<Script(std::string source)>;

} // namespace korvane
