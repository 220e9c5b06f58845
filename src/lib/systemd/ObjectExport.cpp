#include "lib/systemd/ObjectExport.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <tuple>

namespace korvane {

namespace {

sd_bus_vtable emptyEntry(char type, std::uint64_t flags = 0)
{
    sd_bus_vtable entry{};
    entry.type = static_cast<std::uint8_t>(type);
    entry.flags = flags & 0xFFFFFFFFFFFFFFULL;
    return entry;
}

std::string signature(const std::vector<BusParameter>& parameters)
{
    std::string joined;
    for (const BusParameter& parameter : parameters) joined += parameter.signature;
    return joined;
}

/** Each name with a NUL byte behind it, those of the results last. */
std::string names(const BusMethod& method)
{
    std::string joined;
    for (const auto* parameters : {&method.parameters, &method.results}) {
        for (const BusParameter& parameter : *parameters) (joined += parameter.name) += '\0';
    }
    return joined;
}

template <typename Member>
const Member& named(const std::vector<Member>& members, std::string_view name)
{
    return *std::ranges::find(members, name, &Member::name);
}

} // namespace

ObjectExport::ObjectExport(sd_bus& bus, const BusObject& object) : bus_(bus), object_(object)
{
    addEntries();
    sd_bus_slot* slot = nullptr;
    ::sd_bus_add_object_vtable(&bus, &slot, object_.path.c_str(), object_.interface.c_str(),
                               entries_.data(), const_cast<BusObject*>(&object_));
    offered_.reset(slot);
    slot = nullptr;
    ::sd_bus_request_name_async(
        &bus, &slot, object_.name.c_str(), SD_BUS_NAME_QUEUE,
        [](sd_bus_message* /*reply*/, void* /*nothing*/, sd_bus_error* /*error*/) { return 1; },
        nullptr);
    naming_.reset(slot);
}

ObjectExport::~ObjectExport()
{
    // Without waiting for the reply. On a connection that is lost the name is free already.
    std::ignore = ::sd_bus_release_name_async(
        &bus_, nullptr, object_.name.c_str(),
        [](sd_bus_message* /*reply*/, void* /*nothing*/, sd_bus_error* /*error*/) { return 1; },
        nullptr);
}

/** The functions of an object find their members by name: the library's offsets are not used. */
void ObjectExport::addEntries()
{
    const auto keep = [this](std::string text) {
        return texts_.emplace_back(std::make_unique<const std::string>(std::move(text)))->c_str();
    };
    sd_bus_vtable start = emptyEntry(_SD_BUS_VTABLE_START);
    start.x.start.element_size = sizeof(sd_bus_vtable);
    start.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
    start.x.start.vtable_format_reference = &sd_bus_object_vtable_format;
    entries_.push_back(start);
    for (const BusMethod& method : object_.methods) {
        // Who may call is the bus's affair: the library would ask it for the caller, and wait.
        sd_bus_vtable entry = emptyEntry(_SD_BUS_VTABLE_METHOD, SD_BUS_VTABLE_UNPRIVILEGED);
        entry.x.method.member = method.name.c_str();
        entry.x.method.signature = keep(signature(method.parameters));
        entry.x.method.result = keep(signature(method.results));
        entry.x.method.handler = callMethod;
        entry.x.method.names = keep(names(method));
        entries_.push_back(entry);
    }
    for (const BusProperty& property : object_.properties) {
        constexpr std::uint64_t announced = SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE;
        sd_bus_vtable entry =
            emptyEntry(_SD_BUS_VTABLE_PROPERTY, property.announcesChanges ? announced : 0);
        entry.x.property.member = property.name.c_str();
        entry.x.property.signature = property.signature.c_str();
        entry.x.property.get = getProperty;
        entries_.push_back(entry);
    }
    for (const std::string& signal : object_.signals) {
        sd_bus_vtable entry = emptyEntry(_SD_BUS_VTABLE_SIGNAL);
        entry.x.signal.member = signal.c_str();
        entry.x.signal.signature = "";
        entry.x.signal.names = "";
        entries_.push_back(entry);
    }
    entries_.push_back(emptyEntry(_SD_BUS_VTABLE_END));
}

// Nothing may be thrown through the library.

int ObjectExport::getProperty(sd_bus* /*bus*/, const char* /*path*/, const char* /*interface*/,
                              const char* name, sd_bus_message* reply, void* object,
                              sd_bus_error* /*error*/)
{
    try {
        const auto& self = *static_cast<const BusObject*>(object);
        return append(*reply, named(self.properties, name).get());
    } catch (const std::exception&) {
        return -ENOMEM;
    }
}

int ObjectExport::callMethod(sd_bus_message* message, void* object, sd_bus_error* error)
{
    try {
        const auto& self = *static_cast<const BusObject*>(object);
        const BusMethod& method = named(self.methods, ::sd_bus_message_get_member(message));
        const BusReply results = method.call(decodeArguments(*message));
        if (!results) {
            return ::sd_bus_error_set(error, results.error().name.c_str(),
                                      results.error().message.c_str());
        }
        sd_bus_message* made = nullptr;
        int result = ::sd_bus_message_new_method_return(message, &made);
        const BusMessageHandle reply(made);
        if (result >= 0) result = append(*reply, *results);
        return result < 0 ? result : ::sd_bus_message_send(reply.get());
    } catch (const std::exception&) {
        return -ENOMEM;
    }
}

} // namespace korvane
