#pragma once

#include "base/Result.h"

#include <span>
#include <string>
#include <vector>

namespace korvane {

/** What korvanectl was asked to do. */
struct CommandLine {
    /** Empty for `help` and `version`. */
    std::string command;
    std::vector<std::string> operands;
    /** Results as one JSON object. */
    bool json = false;
    bool help = false;
    bool version = false;

    /** Options may stand anywhere, up to an argument "--". An error is in words for the user. */
    static Result<CommandLine, std::string> parse(std::span<const char* const> arguments);
};

} // namespace korvane
