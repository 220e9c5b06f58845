#include "ctl/Commands.h"

#include "base/TimeText.h"
#include "config/JSONText.h"
#include "config/SettingsKeys.h"
#include "status/AgentInterface.h"
#include "status/StatusWords.h"
#include "text/DisplayText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <utility>

namespace korvane {

namespace {

using Operands = std::vector<std::string>;

/** Columns that a name may take on a line. */
constexpr std::size_t maxNameLength = 60;
constexpr std::size_t maxPathLength = 4096;

constexpr std::uint32_t maxDocuments = 100;

Outcome unusableSettings(const SettingsFile::Error& error)
{
    return {.status = ExitStatus::unusableSettings,
            .problem = error.description,
            .record = {{"problem", error.description}}};
}

Outcome refused(std::string_view key, const std::string& problem)
{
    return {.status = ExitStatus::refused,
            .problem = fmt::format("{}: {}", key, problem),
            .record = {{"key", std::string(key)}, {"problem", problem}}};
}

Outcome unknownKey(const std::string& key)
{
    return wrongUsage(fmt::format("there is no setting {}", key));
}

/** The settings in the file, or those to begin with. */
Result<AppSettings, SettingsFile::Error> settingsOf(const SettingsStore& store)
{
    return store.settingsFile().read().map([&store](const auto& settings) {
        return settings.value_or(firstSettings(store.defaultSettings()));
    });
}

Outcome runJobs(const CommandContext& context, const Operands& operands)
{
    if (!operands.empty()) return wrongUsage("jobs takes no arguments");
    const auto jobs = context.session.agent().jobs();
    if (!jobs) return withoutAgent(jobs.error());
    Outcome outcome{.record = {{"jobs", agentInterface::encodeAll(*jobs)}}};
    for (const JobProgress& job : *jobs) {
        outcome.lines.push_back(fmt::format("{}  {}  {}", job.number,
                                            text::displayLine(job.name, maxNameLength),
                                            words::describe(job)));
    }
    if (jobs->empty()) outcome.lines.emplace_back("No jobs");
    return outcome;
}

Outcome runDocuments(const CommandContext& context, const Operands& operands)
{
    std::uint32_t max = maxDocuments;
    if (operands.size() > 1) return wrongUsage("documents takes one number");
    if (!operands.empty()) {
        const std::string& count = operands.front();
        const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), max);
        if (error != std::errc() || end != count.data() + count.size())
            return wrongUsage(fmt::format("{} is not a number of documents", count));
    }
    const auto documents = context.session.agent().documents(max);
    if (!documents) return withoutAgent(documents.error());
    Outcome outcome{.record = {{"documents", agentInterface::encodeAll(*documents)}}};
    for (const SavedDocument& document : *documents) {
        const auto time = std::chrono::system_clock::from_time_t(document.time);
        outcome.lines.push_back(fmt::format("{}  {}  ({})", localTimestamp(time),
                                            text::displayLine(document.path, maxPathLength),
                                            words::describe(document)));
    }
    if (documents->empty()) outcome.lines.emplace_back("No documents");
    return outcome;
}

Outcome runGet(const CommandContext& context, const Operands& operands)
{
    if (operands.size() > 1) return wrongUsage("get takes one KEY");
    const SettingsKey* only = nullptr;
    if (!operands.empty()) {
        only = findSettingsKey(operands.front());
        if (only == nullptr) return unknownKey(operands.front());
    }
    const auto settings = settingsOf(context.store);
    if (!settings) return unusableSettings(settings.error());
    Outcome outcome;
    const auto members = parseJSONText(encodeSettings(*settings, std::nullopt).value_or("{}"));
    for (const BusEntry& entry : members.value_or(BusDictionary())) {
        if (only == nullptr || only->name == entry.key) outcome.record.push_back(entry);
    }
    if (only != nullptr) {
        outcome.lines = {only->text(*settings)};
        return outcome;
    }
    for (const SettingsKey& key : settingsKeys())
        outcome.lines.push_back(fmt::format("{} {}", key.name, key.text(*settings)));
    return outcome;
}

Outcome runSet(const CommandContext& context, const Operands& operands)
{
    if (operands.empty() || operands.size() % 2 != 0)
        return wrongUsage("set takes a KEY and a VALUE, or several such pairs");
    auto settings = settingsOf(context.store);
    if (!settings) return unusableSettings(settings.error());
    for (std::size_t place = 0; place < operands.size(); place += 2) {
        const SettingsKey* const key = findSettingsKey(operands[place]);
        if (key == nullptr) return unknownKey(operands[place]);
        if (const auto problem = key->assign(*settings, operands[place + 1]))
            return refused(key->name, *problem);
    }
    const auto written = context.store.settingsFile().write(*settings);
    if (!written && written.error().kind == SettingsFile::Error::Kind::refused)
        return refused(operands.front(), written.error().description);
    if (!written) return unusableSettings(written.error());
    Outcome outcome{.record = {{"saved", true}}};
    if (!context.session.postSettingsChanged()) {
        outcome.problem = "saved, but there is no session bus: an agent that is running has to be "
                          "told by SIGHUP, or to be started again";
        outcome.record.push_back({"problem", outcome.problem});
    }
    return outcome;
}

constexpr std::array list{
    Command{"status", "", "how the printer stands", runStatus},
    Command{"jobs", "", "the jobs under way", runJobs},
    Command{"documents", "[MAX]", "the latest documents", runDocuments},
    Command{"get", "[KEY]", "the settings, or one of them", runGet},
    Command{"set", "KEY VALUE...", "changes settings", runSet},
};

} // namespace

std::span<const Command> commands()
{
    return list;
}

const Command* findCommand(std::string_view name)
{
    const auto* const found = std::ranges::find(list, name, &Command::name);
    return found == list.end() ? nullptr : found;
}

Outcome wrongUsage(std::string problem)
{
    BusDictionary record = {{"problem", problem}};
    return {
        .status = ExitStatus::usage, .problem = std::move(problem), .record = std::move(record)};
}

Outcome withoutAgent(AgentAbsence absence)
{
    const std::string problem = words::describe(failure(absence), {});
    return {.status = ExitStatus::notReady, .problem = problem, .record = {{"problem", problem}}};
}

} // namespace korvane
