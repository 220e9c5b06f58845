#include "lib/avahi/EmbeddedResponder.h"

#include "lib/avahi/ServiceRecords.h"

#include <avahi-common/alternative.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/log.h>

#include <algorithm>
#include <random>
#include <utility>

namespace korvane {

namespace {

/** Every failure comes back as an error code; the agent's log is its own. */
void silenceLibrary()
{
    avahi_set_log_function([](AvahiLogLevel, const char*) {});
}

/**
 * How far the number of the host goes on: to the next at first, then at random ever further. Of two
 * hosts that probe for a name at once each may lose one of its addresses (see ServiceRecords.h), so
 * that both go on.
 */
int stepsToNextHost(int conflicts)
{
    constexpr int maxDoublings = 5;
    if (conflicts == 0) return 1;
    std::random_device random;
    return std::uniform_int_distribution(1, 2 << std::min(conflicts, maxDoublings))(random);
}

/** The configuration of a responder that announces this host and nothing else of its own accord. */
class ServerConfig {
public:
    explicit ServerConfig(const std::optional<std::string>& host)
    {
        avahi_server_config_init(&config_);
        config_.publish_hinfo = 0;
        config_.publish_workstation = 0;
        config_.publish_domain = 0;
        config_.enable_wide_area = 0;
        if (host && avahi_is_valid_host_name(host->c_str()) != 0) {
            config_.host_name = avahi_strdup(host->c_str());
        }
        // A plugged-in cable is announced on at once, not when someone next asks.
        config_.use_iff_running = 1;
    }
    ~ServerConfig() { avahi_server_config_free(&config_); }
    ServerConfig(const ServerConfig&) = delete;
    ServerConfig& operator=(const ServerConfig&) = delete;

    const AvahiServerConfig* get() const { return &config_; }

private:
    AvahiServerConfig config_{};
};

} // namespace

Result<std::unique_ptr<EmbeddedResponder>, int>
EmbeddedResponder::start(const AvahiPoll* poll, const std::optional<std::string>& host,
                         AvahiService service, AvahiResponderObserver& observer)
{
    silenceLibrary();
    std::unique_ptr<EmbeddedResponder> responder(
        new EmbeddedResponder(std::move(service), observer));
    int error = AVAHI_OK;
    responder->server_ = avahi_server_new(
        poll, ServerConfig(host).get(),
        [](AvahiServer* server, AvahiServerState state, void* self) {
            static_cast<EmbeddedResponder*>(self)->handleServer(server, state);
        },
        responder.get(), &error);
    if (responder->server_ == nullptr) return failure(error);
    return responder;
}

EmbeddedResponder::~EmbeddedResponder()
{
    if (server_ != nullptr) avahi_server_free(server_);
}

void EmbeddedResponder::handleServer(AvahiServer* server, AvahiServerState state)
{
    // The first states come before avahi_server_new has returned.
    server_ = server;
    switch (state) {
    case AVAHI_SERVER_REGISTERING:
    case AVAHI_SERVER_RUNNING:
        if (state == AVAHI_SERVER_RUNNING) tellHost(avahi_server_get_host_name(server));
        // The service makes sure of its name while the host still makes sure of its own: that takes
        // each a second. New addresses of the host leave it where it is.
        if (group_ == nullptr || avahi_s_entry_group_is_empty(group_) != 0) publish();
        break;
    case AVAHI_SERVER_COLLISION: renameHost(); break;
    case AVAHI_SERVER_FAILURE: fail(avahi_server_errno(server)); break;
    case AVAHI_SERVER_INVALID: break;
    }
}

void EmbeddedResponder::renameHost()
{
    emptyGroup();
    std::string name = avahi_server_get_host_name(server_);
    for (int steps = stepsToNextHost(hostConflicts_++); steps > 0; --steps) {
        const std::unique_ptr<char, decltype(&avahi_free)> next(
            avahi_alternative_host_name(name.c_str()), avahi_free);
        if (next) name = next.get();
    }
    const int error = avahi_server_set_host_name(server_, name.c_str());
    if (error != AVAHI_OK) fail(error);
}

void EmbeddedResponder::emptyGroup()
{
    if (group_ != nullptr) avahi_s_entry_group_reset(group_);
}

int EmbeddedResponder::fillGroup(const AvahiService& service)
{
    emptyGroup();
    int error = group_ == nullptr ? makeGroup() : AVAHI_OK;
    if (error == AVAHI_OK) error = addToGroup(service);
    return error == AVAHI_OK ? avahi_s_entry_group_commit(group_) : error;
}

int EmbeddedResponder::makeGroup()
{
    group_ = avahi_s_entry_group_new(
        server_,
        [](AvahiServer* server, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
            static_cast<EmbeddedResponder*>(self)->handleGroup(state, avahi_server_errno(server));
        },
        this);
    return group_ == nullptr ? avahi_server_errno(server_) : AVAHI_OK;
}

int EmbeddedResponder::addToGroup(const AvahiService& service)
{
    const auto records = serviceRecords(service, avahi_server_get_host_name_fqdn(server_));
    if (!records) return records.error();
    int error = AVAHI_OK;
    for (const auto& [record, flags] : *records) {
        if (error != AVAHI_OK) break;
        error = avahi_server_add(server_, group_, service.interface, AVAHI_PROTO_UNSPEC, flags,
                                 record.get());
    }
    return error;
}

} // namespace korvane
