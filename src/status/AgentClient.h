#pragma once

#include "base/Result.h"
#include "lib/systemd/BlockingBus.h"
#include "status/JobProgress.h"
#include "status/PrinterState.h"
#include "status/SavedDocument.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane {

/** Why the agent says nothing. */
enum class AgentAbsence {
    notRunning,
    /** There is no session bus to ask on: whether the agent runs is not known. */
    noBus,
    /** It runs and does not answer, or not as it should. */
    noAnswer,
};

/** Asks the agent how it stands. Every call waits for the answer, 2 s at most; the agent is not
 *  started for it. */
class AgentClient {
public:
    /** The bus outlives the client. */
    explicit AgentClient(BlockingBus& bus) : bus_(bus) {}

    Result<PrinterState, AgentAbsence> printer();

    /** Those under way, the oldest first. */
    Result<std::vector<JobProgress>, AgentAbsence> jobs();

    /** The latest that were saved, the newest first. */
    Result<std::vector<SavedDocument>, AgentAbsence> documents(std::uint32_t max);

private:
    Result<BusValue, AgentAbsence> ask(const char* interface, const char* member,
                                       std::vector<BusValue> arguments);

    BlockingBus& bus_;
};

} // namespace korvane
