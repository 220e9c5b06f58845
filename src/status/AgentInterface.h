#pragma once

#include "lib/systemd/BusMessage.h"
#include "status/JobProgress.h"
#include "status/PrinterState.h"
#include "status/SavedDocument.h"

#include <optional>
#include <vector>

/** The agent on the session bus, as org.korvane.Agent.xml describes it. */
namespace korvane::agentInterface {

/** Both its well-known name and its interface. */
constexpr const char* name = "org.korvane.Agent";
constexpr const char* path = "/org/korvane/Agent";

/** By the names of the properties. */
BusDictionary encode(const PrinterState& state);
BusDictionary encode(const JobProgress& job);
BusDictionary encode(const SavedDocument& document);

/** A row for each of the values. */
template <typename Values>
std::vector<BusDictionary> encodeAll(const Values& values)
{
    std::vector<BusDictionary> rows;
    for (const auto& value : values) rows.push_back(encode(value));
    return rows;
}

// Members that are missing have their defaults; nothing where one has another type.
std::optional<PrinterState> decodePrinterState(const BusDictionary& properties);
std::optional<JobProgress> decodeJobProgress(const BusDictionary& members);
std::optional<SavedDocument> decodeSavedDocument(const BusDictionary& members);

} // namespace korvane::agentInterface
