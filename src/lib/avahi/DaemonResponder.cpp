#include "lib/avahi/DaemonResponder.h"

#include "lib/avahi/AvahiErrors.h"

#include <avahi-common/address.h>
#include <avahi-common/error.h>

#include <chrono>
#include <utility>

namespace korvane {

namespace {

constexpr const char* serverInterface = "org.freedesktop.Avahi.Server";
constexpr const char* groupInterface = "org.freedesktop.Avahi.EntryGroup";

/** A daemon that is stopped answers when it goes on; its end is told by the bus. */
constexpr auto asLongAsItTakes = std::chrono::hours(24) * 365;

/** What a DNS record can hold (RFC 1035, section 3.2.1). */
constexpr std::size_t maxDataSize = 0xFFFF;

/** The record's data as on the wire. */
std::vector<std::uint8_t> dataOf(AvahiRecord& record)
{
    std::vector<std::uint8_t> bytes(maxDataSize);
    const std::size_t size = avahi_rdata_serialize(&record, bytes.data(), bytes.size());
    bytes.resize(size == static_cast<std::size_t>(-1) ? 0 : size);
    return bytes;
}

/** The error that comes with a state. */
int errorOf(const std::vector<BusValue>& state)
{
    const auto* name = busArgument<std::string>(state, 1);
    return name == nullptr ? AVAHI_ERR_FAILURE : avahiError(*name);
}

} // namespace

DaemonResponder::DaemonResponder(SessionBus& bus, std::string owner, AvahiService service,
                                 AvahiResponderObserver& observer, std::function<void()> onFound)
    : AvahiResponder(std::move(service), observer), bus_(bus), owner_(std::move(owner)),
      onFound_(std::move(onFound)),
      serverStates_(
          bus.subscribe({.sender = owner_, .interface = serverInterface, .member = "StateChanged"},
                        [this](const BusSignal& signal) {
                            if (signal.sender == owner_) handleServer(signal.arguments);
                        })),
      groupStates_(bus.subscribe(
          {.sender = owner_, .interface = groupInterface, .member = "StateChanged"},
          [this](const BusSignal& signal) {
              const auto* state = busArgument<std::int32_t>(signal.arguments, 0);
              if (signal.sender != owner_ || state == nullptr) return;
              handleGroup(static_cast<AvahiEntryGroupState>(*state), errorOf(signal.arguments));
          }))
{
    bus_.call(serverCall("GetState"), lifetime_.guard([this](const BusReply& reply) {
        if (reply) {
            handleServer(*reply);
        } else {
            fail(avahiError(reply.error().name));
        }
    }));
}

void DaemonResponder::handleLoss()
{
    fail(AVAHI_ERR_DISCONNECTED);
}

void DaemonResponder::handleServer(const std::vector<BusValue>& arguments)
{
    const auto* state = busArgument<std::int32_t>(arguments, 0);
    if (state == nullptr) return fail(AVAHI_ERR_DBUS_ERROR);
    if (!std::exchange(isServing_, true)) onFound_();
    switch (static_cast<AvahiServerState>(*state)) {
    case AVAHI_SERVER_RUNNING: askForHost(); break;
    case AVAHI_SERVER_FAILURE: fail(errorOf(arguments)); break;
    case AVAHI_SERVER_REGISTERING:
    case AVAHI_SERVER_COLLISION:
    case AVAHI_SERVER_INVALID: break;
    }
}

/** The daemon is running again after every change of the host's addresses; only under another name
 *  of the host does the service have to be published again. */
void DaemonResponder::askForHost()
{
    bus_.call(serverCall("GetHostNameFqdn"), lifetime_.guard([this](const BusReply& reply) {
        const auto* host = reply ? busArgument<std::string>(*reply, 0) : nullptr;
        if (host != nullptr) {
            publishFor(*host);
        } else {
            fail(reply ? AVAHI_ERR_DBUS_ERROR : avahiError(reply.error().name));
        }
    }));
}

void DaemonResponder::publishFor(const std::string& host)
{
    if (std::exchange(host_, host) == host) return;
    tellHost(host_);
    publish();
}

int DaemonResponder::fillGroup(const AvahiService& service)
{
    const auto records = serviceRecords(service, host_);
    if (!records) return records.error();
    filling_ = std::make_unique<Filling>();
    filling_->calls.push_back(groupCall("Reset"));
    for (const ServiceRecord& record : *records) {
        filling_->calls.push_back(addCall(record, service.interface));
    }
    filling_->calls.push_back(groupCall("Commit"));
    if (group_.empty()) {
        makeGroup();
    } else {
        callNext();
    }
    return AVAHI_OK;
}

void DaemonResponder::makeGroup()
{
    bus_.call(serverCall("EntryGroupNew"), filling_->lifetime.guard([this](const BusReply& reply) {
        if (!reply) return handleRefusal(reply.error());
        const auto* path = busArgument<std::string>(*reply, 0);
        if (path == nullptr) return fail(AVAHI_ERR_DBUS_ERROR);
        group_ = *path;
        callNext();
    }));
}

/** One call after the other, so that the first refusal is the last call. */
void DaemonResponder::callNext()
{
    if (filling_->calls.empty()) return;
    BusCall call = std::move(filling_->calls.front());
    filling_->calls.pop_front();
    call.path = group_;
    bus_.call(call, filling_->lifetime.guard([this](const BusReply& reply) {
        if (reply) {
            callNext();
        } else {
            handleRefusal(reply.error());
        }
    }));
}

void DaemonResponder::handleRefusal(const BusError& error)
{
    const int code = avahiError(error.name);
    if (code == AVAHI_ERR_COLLISION) {
        handleCollision(); // on this machine
    } else {
        fail(code);
    }
}

BusCall DaemonResponder::serverCall(const char* member) const
{
    return {.destination = owner_,
            .path = "/",
            .interface = serverInterface,
            .member = member,
            .timeout = asLongAsItTakes};
}

BusCall DaemonResponder::groupCall(const char* member, std::vector<BusValue> arguments) const
{
    return {.destination = owner_,
            .path = group_,
            .interface = groupInterface,
            .member = member,
            .arguments = std::move(arguments),
            .timeout = asLongAsItTakes};
}

BusCall DaemonResponder::addCall(const ServiceRecord& entry, AvahiIfIndex interface) const
{
    AvahiRecord& record = *entry.record;
    return groupCall("AddRecord",
                     {std::int32_t{interface}, std::int32_t{AVAHI_PROTO_UNSPEC},
                      static_cast<std::uint32_t>(entry.flags), std::string(record.key->name),
                      record.key->clazz, record.key->type, record.ttl, dataOf(record)});
}

} // namespace korvane
