#pragma once

#include "base/Result.h"
#include "status/AgentClient.h"
#include "status/JobProgress.h"
#include "status/PortConflict.h"
#include "status/PrinterState.h"
#include "status/SavedDocument.h"

#include <optional>
#include <string>

/** How the printer stands in words for the user, one sentence each, without a full stop. */
namespace korvane::words {

/** What there is to know of the printer beside what the agent says. */
struct Surroundings {
    /** Where the port cannot be had. */
    std::optional<PortConflict> conflict = {};
    bool isOnNetwork = true;
};

std::string describe(const Result<PrinterState, AgentAbsence>& printer,
                     const Surroundings& surroundings);

/** "Port 8631 is in use by another user's printer: use 8632". */
std::string describe(const PortConflict& conflict);

/** Without the job's name: "Recognizing page 3 of 12". */
std::string describe(const JobProgress& job);

/** What is known of a document beside its name, place and time: "2 pages, 317 words, de". */
std::string describe(const SavedDocument& document);

} // namespace korvane::words
