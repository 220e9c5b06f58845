#include "lib/avahi/DaemonResponder.h"

#include <avahi-common/error.h>

#include <utility>

namespace korvane {

namespace {

constexpr AvahiPublishFlags noFlags{};

} // namespace

Result<std::unique_ptr<DaemonResponder>, int>
DaemonResponder::connect(const AvahiPoll* poll, AvahiService service,
                         AvahiResponderObserver& observer, std::function<void()> onFound)
{
    std::unique_ptr<DaemonResponder> responder(
        new DaemonResponder(std::move(service), observer, std::move(onFound)));
    int error = AVAHI_OK;
    responder->client_ = avahi_client_new(
        poll, AVAHI_CLIENT_NO_FAIL,
        [](AvahiClient* client, AvahiClientState state, void* self) {
            static_cast<DaemonResponder*>(self)->handleClient(client, state);
        },
        responder.get(), &error);
    if (responder->client_ == nullptr) {
        // What was begun with the client went with it.
        responder->group_ = nullptr;
        return failure(error);
    }
    return responder;
}

DaemonResponder::DaemonResponder(AvahiService service, AvahiResponderObserver& observer,
                                 std::function<void()> onFound)
    : AvahiResponder(std::move(service), observer), onFound_(std::move(onFound))
{
}

DaemonResponder::~DaemonResponder()
{
    // Waits for the daemon's answer, so that the same name is free for the next registration.
    if (group_ != nullptr) avahi_entry_group_reset(group_);
    if (client_ != nullptr) avahi_client_free(client_);
}

void DaemonResponder::handleClient(AvahiClient* client, AvahiClientState state)
{
    // The first states come before avahi_client_new has returned.
    client_ = client;
    switch (state) {
    case AVAHI_CLIENT_S_RUNNING:
        serve();
        publishForHost();
        break;
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION: serve(); break;
    case AVAHI_CLIENT_FAILURE: fail(avahi_client_errno(client)); break;
    case AVAHI_CLIENT_CONNECTING: break;
    }
}

void DaemonResponder::serve()
{
    if (!std::exchange(isServing_, true)) onFound_();
}

/** The daemon is running again after every change of the host's addresses; only under another name
 *  of the host does the service have to be published again. */
void DaemonResponder::publishForHost()
{
    const char* name = avahi_client_get_host_name(client_);
    std::string host = name != nullptr ? name : "";
    if (group_ != nullptr && host == host_) return;
    host_ = std::move(host);
    publish();
}

int DaemonResponder::fillGroup(const AvahiService& service)
{
    int error = group_ == nullptr ? makeGroup() : avahi_entry_group_reset(group_);
    if (error == AVAHI_OK) error = addToGroup(service);
    return error == AVAHI_OK ? avahi_entry_group_commit(group_) : error;
}

int DaemonResponder::makeGroup()
{
    group_ = avahi_entry_group_new(
        client_,
        [](AvahiEntryGroup* group, AvahiEntryGroupState state, void* self) {
            static_cast<DaemonResponder*>(self)->handleGroup(
                state, avahi_client_errno(avahi_entry_group_get_client(group)));
        },
        this);
    return group_ == nullptr ? avahi_client_errno(client_) : AVAHI_OK;
}

int DaemonResponder::addToGroup(const AvahiService& service)
{
    int error = avahi_entry_group_add_service_strlst(
        group_, service.interface, AVAHI_PROTO_UNSPEC, noFlags, service.name.c_str(),
        service.type.c_str(), nullptr, nullptr, service.port, service.txt.get());
    for (const std::string& subtype : service.subtypes) {
        if (error != AVAHI_OK) break;
        error = avahi_entry_group_add_service_subtype(
            group_, service.interface, AVAHI_PROTO_UNSPEC, noFlags, service.name.c_str(),
            service.type.c_str(), nullptr, subtype.c_str());
    }
    return error;
}

} // namespace korvane
