#include "agent/AgentObject.h"

#include "status/AgentInterface.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace korvane {

namespace {

using Part = AgentStatus::Part;

/** Changes that come so close together are told as one. */
constexpr std::chrono::milliseconds collectingTime{200};

constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

BusProperty printerProperty(const std::shared_ptr<AgentStatus>& status, const BusEntry& entry)
{
    return {.name = entry.key,
            .signature = std::holds_alternative<std::string>(entry.value) ? "s" : "q",
            .get =
                [status, key = entry.key] {
                    const BusDictionary entries = agentInterface::encode(status->printer());
                    return std::ranges::find(entries, key, &BusEntry::key)->value;
                },
            .announcesChanges = true};
}

BusObject makeObject(const std::shared_ptr<AgentStatus>& status)
{
    BusObject object{
        .name = agentInterface::name,
        .path = agentInterface::path,
        .interface = agentInterface::name,
        .methods = {{.name = "LatestDocuments",
                     .parameters = {{"max", "u"}},
                     .results = {{"documents", "aa{sv}"}},
                     .call = [status](const std::vector<BusValue>& arguments) -> BusReply {
                         const auto* const max = busArgument<std::uint32_t>(arguments, 0);
                         return {{agentInterface::encodeAll(
                             status->documents().latest(max == nullptr ? 0 : *max))}};
                     }}},
        .signals = {"JobsChanged", "DocumentsChanged"}};
    for (const BusEntry& entry : agentInterface::encode(status->printer()))
        object.properties.push_back(printerProperty(status, entry));
    object.properties.push_back({.name = "Jobs", .signature = "aa{sv}", .get = [status] {
                                     return agentInterface::encodeAll(status->jobs().list());
                                 }});
    return object;
}

BusEmission change(const char* member)
{
    return {.path = agentInterface::path, .interface = agentInterface::name, .member = member};
}

} // namespace

AgentObject::AgentObject(SessionBus& bus, SerialQueue& main, std::shared_ptr<AgentStatus> status)
    : bus_(bus), main_(main), status_(std::move(status)),
      told_(agentInterface::encode(status_->printer())), offer_(bus.offer(makeObject(status_)))
{
    status_->onChange = [this](Part part) { tellLater(part); };
}

AgentObject::~AgentObject()
{
    status_->onChange = nullptr;
}

void AgentObject::tellLater(Part part)
{
    changed_.insert(part);
    if (!telling_) telling_ = main_.after(collectingTime, [this] { tell(); });
}

void AgentObject::tell()
{
    telling_.reset();
    const auto changed = std::exchange(changed_, {});
    if (changed.contains(Part::printer)) tellPrinter();
    if (changed.contains(Part::jobs)) bus_.emit(change("JobsChanged"));
    if (changed.contains(Part::documents)) bus_.emit(change("DocumentsChanged"));
}

void AgentObject::tellPrinter()
{
    BusDictionary changes;
    BusDictionary entries = agentInterface::encode(status_->printer());
    for (const BusEntry& entry : entries) {
        if (std::ranges::find(told_, entry) == told_.end()) changes.push_back(entry);
    }
    told_ = std::move(entries);
    if (changes.empty()) return;
    bus_.emit({.path = agentInterface::path,
               .interface = propertiesInterface,
               .member = "PropertiesChanged",
               .arguments = {std::string(agentInterface::name), std::move(changes),
                             std::vector<std::string>()}});
}

} // namespace korvane
