#include "status/StatusWords.h"

#include <fmt/format.h>

namespace korvane::words {

namespace {

std::string counted(std::uint32_t count, const char* one)
{
    return fmt::format("{} {}{}", count, one, count == 1 ? "" : "s");
}

std::string describe(AgentAbsence absence)
{
    switch (absence) {
    case AgentAbsence::notRunning: return "The printer is not running";
    case AgentAbsence::noBus:
        return "There is no session bus: whether the printer is running cannot be told";
    case AgentAbsence::noAnswer: break;
    }
    return "The printer is running but does not answer";
}

std::string describeReady(const PrinterState& state, bool isOnNetwork)
{
    if (!isOnNetwork) return "Ready, but this computer is not on a network";
    if (state.networkName.empty()) return "Ready, but not announced on the network yet";
    return fmt::format("Ready: phones on this network see '{}'", state.networkName);
}

const char* describe(PortConflict::Holder holder)
{
    using Holder = PortConflict::Holder;
    switch (holder) {
    case Holder::user: return "in use by another of your programs";
    case Holder::anotherUser: return "in use by another user's program";
    case Holder::anotherUsersPrinter: return "in use by another user's printer";
    case Holder::unknown: break;
    }
    return "not available";
}

} // namespace

std::string describe(const Result<PrinterState, AgentAbsence>& printer,
                     const Surroundings& surroundings)
{
    using Phase = PrinterState::Phase;
    if (!printer) return describe(printer.error());
    switch (printer->phase) {
    case Phase::notConfigured: return "Not set up: " + printer->problem;
    case Phase::starting: return "Starting";
    case Phase::ready: return describeReady(*printer, surroundings.isOnNetwork);
    case Phase::portUnavailable: break;
    }
    return describe(surroundings.conflict.value_or(PortConflict{.port = printer->port}));
}

std::string describe(const PortConflict& conflict)
{
    const std::string fact = fmt::format("Port {} is {}", conflict.port, describe(conflict.holder));
    return conflict.freePort ? fmt::format("{}: use {}", fact, *conflict.freePort) : fact;
}

std::string describe(const JobProgress& job)
{
    if (!job.message.empty()) return job.message;
    return job.pages == 0 ? "Waiting" : "Saving";
}

std::string describe(const SavedDocument& document)
{
    if (document.pages == 0) return "Saved as it was received";
    const std::string size =
        fmt::format("{}, {}", counted(document.pages, "page"), counted(document.words, "word"));
    return document.language.empty() ? size : fmt::format("{}, {}", size, document.language);
}

} // namespace korvane::words
