#include "base/Result.h"
#include "config/SettingsKeys.h"
#include "ctl/Commands.h"
#include "net/ListeningPorts.h"
#include "status/AgentInterface.h"
#include "status/StatusWords.h"
#include "text/DisplayText.h"

#include <fmt/format.h>

#include <cctype>
#include <optional>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxLineLength = 200;

std::string absenceName(AgentAbsence absence)
{
    switch (absence) {
    case AgentAbsence::notRunning: return "not-running";
    case AgentAbsence::noBus: return "no-bus";
    case AgentAbsence::noAnswer: break;
    }
    return "no-answer";
}

/** The properties by their names with a small letter in front, as members of JSON usually have. */
BusDictionary recordOf(const Result<PrinterState, AgentAbsence>& printer)
{
    if (!printer) return {{"state", absenceName(printer.error())}};
    BusDictionary record = agentInterface::encode(*printer);
    for (BusEntry& entry : record)
        entry.key.front() =
            static_cast<char>(std::tolower(static_cast<unsigned char>(entry.key.front())));
    return record;
}

/** What keeps documents from being saved, as far as it can be told from here. */
std::optional<std::string> folderProblem(const SettingsStore& store)
{
    const auto settings = store.settingsFile().read();
    if (!settings) return settings.error().description;
    return saveFolderProblem(absoluteSaveDirectory(settings->value_or(store.defaultSettings())));
}

bool isInPhase(const Result<PrinterState, AgentAbsence>& printer, PrinterState::Phase phase)
{
    return printer && printer->phase == phase;
}

} // namespace

Outcome runStatus(const CommandContext& context, const std::vector<std::string>& operands)
{
    using Phase = PrinterState::Phase;
    if (!operands.empty()) return wrongUsage("status takes no arguments");
    const auto printer = context.session.agent().printer();
    words::Surroundings surroundings{.isOnNetwork = isOnNetwork()};
    if (isInPhase(printer, Phase::portUnavailable))
        surroundings.conflict = examinePort(printer->port);

    const std::string message = words::describe(printer, surroundings);
    Outcome outcome{.status =
                        isInPhase(printer, Phase::ready) ? ExitStatus::done : ExitStatus::notReady,
                    .lines = {text::displayLine(message, maxLineLength)},
                    .record = recordOf(printer)};
    outcome.record.push_back({"message", message});
    if (printer == failure(AgentAbsence::notRunning))
        outcome.lines.emplace_back("    systemctl --user start korvane-agent");
    if (surroundings.conflict && surroundings.conflict->freePort) {
        const std::uint16_t port = *surroundings.conflict->freePort;
        outcome.lines.push_back(fmt::format("    korvanectl set ippPort {}", port));
        outcome.record.push_back({"freePort", port});
    }
    if (const auto problem = folderProblem(context.store)) {
        if (!isInPhase(printer, Phase::notConfigured))
            outcome.lines.push_back("Documents cannot be saved: " + *problem);
        outcome.lines.emplace_back("    korvanectl set saveDirectoryPath FOLDER");
        outcome.record.push_back({"saveFolderProblem", *problem});
    }
    const auto answer = printer ? context.session.agent().jobs() : failure(AgentAbsence::noAnswer);
    const auto jobs = answer.value_or(std::vector<JobProgress>());
    for (const JobProgress& job : jobs) {
        outcome.lines.push_back(text::displayLine(
            fmt::format("{}: {}", job.name, words::describe(job)), maxLineLength));
    }
    outcome.record.push_back({"jobs", agentInterface::encodeAll(jobs)});
    return outcome;
}

} // namespace korvane
