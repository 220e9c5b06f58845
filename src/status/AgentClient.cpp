#include "status/AgentClient.h"

#include "status/AgentInterface.h"

#include <optional>
#include <utility>

namespace korvane {

namespace {

constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

AgentAbsence absence(const BusError& error)
{
    const auto is = [&error](const char* name) {
        return error.name == std::string("org.freedesktop.DBus.Error.") + name;
    };
    if (is("ServiceUnknown") || is("NameHasNoOwner")) return AgentAbsence::notRunning;
    if (is("NoServer") || is("Disconnected")) return AgentAbsence::noBus;
    return AgentAbsence::noAnswer;
}

template <typename T>
Result<std::vector<T>, AgentAbsence>
decodeAll(const Result<BusValue, AgentAbsence>& answer,
          std::optional<T> (*decode)(const BusDictionary& members))
{
    if (!answer) return failure(answer.error());
    const auto* const rows = std::get_if<std::vector<BusDictionary>>(&*answer);
    if (rows == nullptr) return failure(AgentAbsence::noAnswer);
    std::vector<T> values;
    for (const BusDictionary& row : *rows) {
        auto value = decode(row);
        if (!value) return failure(AgentAbsence::noAnswer);
        values.push_back(*std::move(value));
    }
    return values;
}

} // namespace

Result<PrinterState, AgentAbsence> AgentClient::printer()
{
    const auto answer = ask(propertiesInterface, "GetAll", {std::string(agentInterface::name)});
    if (!answer) return failure(answer.error());
    const auto* const properties = std::get_if<BusDictionary>(&*answer);
    auto state =
        properties == nullptr ? std::nullopt : agentInterface::decodePrinterState(*properties);
    if (!state) return failure(AgentAbsence::noAnswer);
    return *std::move(state);
}

Result<std::vector<JobProgress>, AgentAbsence> AgentClient::jobs()
{
    return decodeAll(
        ask(propertiesInterface, "Get", {std::string(agentInterface::name), std::string("Jobs")}),
        agentInterface::decodeJobProgress);
}

Result<std::vector<SavedDocument>, AgentAbsence> AgentClient::documents(std::uint32_t max)
{
    return decodeAll(ask(agentInterface::name, "LatestDocuments", {max}),
                     agentInterface::decodeSavedDocument);
}

Result<BusValue, AgentAbsence> AgentClient::ask(const char* interface, const char* member,
                                                std::vector<BusValue> arguments)
{
    const BusReply reply = bus_.call({.destination = agentInterface::name,
                                      .path = agentInterface::path,
                                      .interface = interface,
                                      .member = member,
                                      .arguments = std::move(arguments)});
    if (!reply) return failure(absence(reply.error()));
    if (reply->empty()) return failure(AgentAbsence::noAnswer);
    return reply->front();
}

} // namespace korvane
