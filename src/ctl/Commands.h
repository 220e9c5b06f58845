#pragma once

#include "config/SettingsStore.h"
#include "ctl/AgentSession.h"
#include "lib/systemd/BusMessage.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** As korvanectl(1) lists them. */
enum class ExitStatus {
    done = 0,
    /** The agent does not answer, or its printer is not ready. */
    notReady = 1,
    usage = 2,
    /** A value was refused, and nothing written. */
    refused = 3,
    /** The settings cannot be read or written. */
    unusableSettings = 4,
};

/** What came of a command. */
struct Outcome {
    ExitStatus status = ExitStatus::done;
    /** For people. */
    std::vector<std::string> lines = {};
    /** What went wrong, for people; empty where nothing did. */
    std::string problem = {};
    /** For programs: the members of a JSON object. */
    BusDictionary record = {};
};

/** What commands work with. */
struct CommandContext {
    const SettingsStore& store;
    AgentSession& session;
};

struct Command {
    std::string_view name;
    /** For example "[KEY]". */
    std::string_view operands;
    std::string_view purpose;
    Outcome (*run)(const CommandContext& context, const std::vector<std::string>& operands);
};

std::span<const Command> commands();

/** Null for a name that is none. */
const Command* findCommand(std::string_view name);

/** The outcome of a command whose operands are wrong. */
Outcome wrongUsage(std::string problem);

/** The outcome where the agent does not answer. */
Outcome withoutAgent(AgentAbsence absence);

/** `status`: how the printer stands, and what to do about it. */
Outcome runStatus(const CommandContext& context, const std::vector<std::string>& operands);

} // namespace korvane
