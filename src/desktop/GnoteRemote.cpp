#include "desktop/GnoteRemote.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace korvane {

namespace {

constexpr const char* service = "org.gnome.Gnote";

/** What Gnote reads at the least in a second. */
constexpr std::size_t bytesPerSecond = 128UL << 10U;

constexpr std::chrono::milliseconds firstDelay{10};
constexpr std::chrono::milliseconds maxDelay{1280};

/** Whether the object is not there yet, or Gnote is still starting. */
bool isMissing(const BusError& error)
{
    return error.name == "org.freedesktop.DBus.Error.NoReply" ||
           error.name == "org.freedesktop.DBus.Error.UnknownMethod" ||
           error.name == "org.freedesktop.DBus.Error.UnknownObject" ||
           error.name == "org.freedesktop.DBus.Error.UnknownInterface";
}

} // namespace

std::unique_ptr<GnoteRemote> GnoteRemote::open(BlockingBus& bus)
{
    std::unique_ptr<GnoteRemote> remote(new GnoteRemote(bus));
    if (!remote->isPresent() || !remote->isAnswering()) return nullptr;
    return remote;
}

bool GnoteRemote::isPresent()
{
    return std::ranges::any_of(
        std::to_array({"ListActivatableNames", "ListNames"}), [&](const char* member) {
            const auto reply = bus_.call({.destination = "org.freedesktop.DBus",
                                          .path = "/org/freedesktop/DBus",
                                          .interface = "org.freedesktop.DBus",
                                          .member = member});
            const auto* const names =
                reply ? busArgument<std::vector<std::string>>(*reply, 0) : nullptr;
            return names != nullptr && std::ranges::count(*names, service) > 0;
        });
}

bool GnoteRemote::isAnswering()
{
    for (auto delay = firstDelay;; delay *= 2) {
        const auto reply = bus_.call(makeCall("Version", {}));
        if (reply) return true;
        if (!isMissing(reply.error()) || delay > maxDelay || !bus_.pause(delay)) return false;
    }
}

BusCall GnoteRemote::makeCall(const std::string& member, std::vector<std::string> arguments)
{
    BusCall call{.destination = service,
                 .path = "/org/gnome/Gnote/RemoteControl",
                 .interface = "org.gnome.Gnote.RemoteControl",
                 .member = member};
    for (std::string& argument : arguments) {
        call.timeout += std::chrono::seconds(argument.size() / bytesPerSecond);
        call.arguments.emplace_back(std::move(argument));
    }
    return call;
}

template <typename T>
Result<T, NotesFailure> GnoteRemote::call(const std::string& member,
                                          std::vector<std::string> arguments)
{
    const auto reply = bus_.call(makeCall(member, std::move(arguments)));
    if (!reply) {
        return failure(
            NotesFailure{"Gnote failed at " + member + ": " + reply.error().description() + "."});
    }
    if (const T* result = busArgument<T>(*reply, 0)) return *result;
    return failure(NotesFailure{"Invalid answer from Gnote to " + member + "."});
}

template Result<bool, NotesFailure> GnoteRemote::call(const std::string&, std::vector<std::string>);
template Result<std::string, NotesFailure> GnoteRemote::call(const std::string&,
                                                             std::vector<std::string>);

} // namespace korvane
