#include "ctl/CommandLine.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace korvane {

Result<CommandLine, std::string> CommandLine::parse(std::span<const char* const> arguments)
{
    static constexpr std::array<std::pair<std::string_view, bool CommandLine::*>, 4> options = {
        {{"--json", &CommandLine::json},
         {"--help", &CommandLine::help},
         {"-h", &CommandLine::help},
         {"--version", &CommandLine::version}}};
    CommandLine line;
    bool isOptionAllowed = true;
    std::vector<std::string> words;
    for (const std::string_view argument : arguments) {
        if (isOptionAllowed && argument == "--") {
            isOptionAllowed = false;
        } else if (isOptionAllowed && argument.starts_with('-') && argument.size() > 1) {
            const auto* const option =
                std::ranges::find(options, argument, &decltype(options)::value_type::first);
            if (option == options.end())
                return failure("there is no option " + std::string(argument));
            line.*option->second = true;
        } else {
            words.emplace_back(argument);
        }
    }
    if (words.empty()) {
        if (line.help || line.version) return line;
        return failure(std::string("a command is missing"));
    }
    line.command = words.front();
    line.operands.assign(words.begin() + 1, words.end());
    return line;
}

} // namespace korvane
