#include "base/HostName.h"
#include "base/User.h"
#include "config/JSONText.h"
#include "config/SettingsKeys.h"
#include "ctl/CommandLine.h"
#include "ctl/Commands.h"
#include "lib/systemd/SystemLog.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

namespace korvane {

namespace {

std::string helpText()
{
    std::string text = "Usage: korvanectl [--json] COMMAND\n\n"
                       "Asks Korvane's agent how its printer stands, and changes its settings.\n\n";
    for (const Command& command : commands()) {
        text += fmt::format("  {:<22}{}\n", fmt::format("{} {}", command.name, command.operands),
                            command.purpose);
    }
    text += "\nSettings:\n";
    for (const SettingsKey& key : settingsKeys())
        text += fmt::format("  {:<22}{}\n", key.name, key.purpose);
    return text + "\nOptions:\n"
                  "  --json                results as JSON\n"
                  "  --help, --version\n\n"
                  "Exit status: 0 done, for \"status\" that the printer is ready; 1 the agent does "
                  "not\nanswer, or the printer is not ready; 2 wrong usage; 3 a value was refused; "
                  "4 the\nsettings cannot be read or written.\n";
}

int print(const Outcome& outcome, bool json)
{
    if (json) {
        std::fputs(jsonText(outcome.record).c_str(), stdout);
    } else {
        for (const std::string& line : outcome.lines) std::puts(line.c_str());
        if (!outcome.problem.empty())
            std::fputs(fmt::format("korvanectl: {}\n", outcome.problem).c_str(), stderr);
    }
    return static_cast<int>(outcome.status);
}

int run(const CommandLine& line)
{
    const Command* const command = findCommand(line.command);
    if (command == nullptr)
        return print(wrongUsage(fmt::format("there is no command {}", line.command)), line.json);
    // A relative save folder means the same as for the agent.
    std::error_code ignored;
    std::filesystem::current_path(currentUserFolders().home, ignored);
    const auto log =
        makeSystemLog({.subsystem = "org.korvane.Agent", .category = "ctl"}, STDERR_FILENO);
    const SettingsStore store(currentUserFolders().configHome, hostName());
    AgentSession session(*log);
    return print(command->run({.store = store, .session = session}, line.operands), line.json);
}

} // namespace

} // namespace korvane

int main(int count, char** arguments)
{
    using namespace korvane;

    const auto line = CommandLine::parse({arguments + 1, arguments + count});
    if (!line) return print(wrongUsage(line.error() + "; see korvanectl --help"), false);
    if (line->help) return std::fputs(helpText().c_str(), stdout) < 0 ? 1 : 0;
    if (line->version) return std::puts("korvanectl " KORVANE_BUILD) < 0 ? 1 : 0;
    return run(*line);
}
