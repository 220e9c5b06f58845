#include "lib/avahi/AvahiRegistration.h"

#include <avahi-common/error.h>

#include <chrono>
#include <utility>

namespace korvane {

namespace {

constexpr const char* daemonName = "org.freedesktop.Avahi";

/** As long as it takes a daemon to be started; longer and the service is better served here. */
constexpr std::chrono::seconds patience{2};

constexpr std::chrono::nanoseconds atOnce{0};

} // namespace

AvahiRegistration::AvahiRegistration(AvahiService service, const std::string& busAddress,
                                     SerialQueue& queue, HostNames& names, Log& log,
                                     ServiceDirectory::ResultHandler handler)
    : service_(std::move(service)), queue_(queue), names_(names), log_(log),
      handler_(std::move(handler)), poll_(queue, [this] { serveAnew(); }), bus_(busAddress, queue),
      server_(Looking{queue.after(patience, [this] { handleSilence(); })}),
      owner_(bus_, daemonName, [this](const std::string& owner) { handleOwner(owner); }),
      busStates_(bus_.watchState([this](SessionBus::State state) { handleBus(state); }))
{
}

Result<void, int> AvahiRegistration::start()
{
    bus_.start();
    const bool isAbsent = bus_.state() == SessionBus::State::absent;
    return isAbsent ? serveHere() : Result<void, int>();
}

void AvahiRegistration::handleBus(SessionBus::State state)
{
    if (state == SessionBus::State::absent) handleNoDaemon();
    if (state != SessionBus::State::connected) return;
    // The daemon may have yet to be started. One that cannot be started may be there all the same:
    // that was asked before, and is answered before.
    bus_.call({.destination = "org.freedesktop.DBus",
               .path = "/org/freedesktop/DBus",
               .interface = "org.freedesktop.DBus",
               .member = "StartServiceByName",
               .arguments = {std::string(daemonName), std::uint32_t{0}},
               .timeout = std::chrono::seconds(25)},
              lifetime_.guard([this](const BusReply& reply) {
                  if (!reply && !daemon_) handleNoDaemon();
              }));
}

void AvahiRegistration::handleOwner(const std::string& owner)
{
    if (daemon_) {
        daemon_->handleLoss();
        return;
    }
    AvahiResponderObserver& observer = *this;
    // Two responders that claim one name would take each other for a stranger.
    daemon_ = std::make_unique<DaemonResponder>(bus_, owner, service_, observer,
                                                [this] { server_ = ServedByDaemon{}; });
}

void AvahiRegistration::handleSilence()
{
    const bool hasBus = bus_.state() == SessionBus::State::connected;
    log_.error(std::string("BonjourRegistrar: ") +
               (hasBus ? "the Avahi daemon" : "the system bus") +
               " does not answer; advertising without it until it does");
    handleNoDaemon();
}

void AvahiRegistration::handleNoDaemon()
{
    if (!std::holds_alternative<Looking>(server_)) return;
    if (const auto served = serveHere(); !served) tell(served.error(), std::nullopt);
}

Result<void, int> AvahiRegistration::serveHere()
{
    if (!std::holds_alternative<Looking>(server_)) return {};
    systemName_ = names_.systemName();
    auto started = EmbeddedResponder::start(poll_.api(), names_.current(), service_, *this);
    if (!started) return failure(started.error());
    server_ = std::move(*started);
    return {};
}

/** With a new responder, which knows nothing of the times that the former waits for. */
void AvahiRegistration::serveAnew()
{
    restart_ = queue_.after(atOnce, [this] {
        if (!std::holds_alternative<ServedHere>(server_)) return;
        server_ = Looking{};
        handleNoDaemon();
    });
}

void AvahiRegistration::answering(const AvahiResponder& responder, const std::string& host)
{
    const bool isDaemon = &responder == daemon_.get();
    names_.setAnswering(
        HostNames::Answering{.name = host, .systemName = isDaemon ? std::nullopt : systemName_});
}

void AvahiRegistration::published(const std::string& name)
{
    tell(0, name);
}

void AvahiRegistration::failed(const AvahiResponder& responder, int error)
{
    const bool isDaemon = &responder == daemon_.get();
    if (isDaemon && !daemon_->isServing()) {
        // It has gone, or refuses us, while it has nothing to do.
        change_ = queue_.after(atOnce, [this] {
            const std::string former = daemon_->owner();
            daemon_.reset();
            const std::string& present = owner_.owner();
            if (present.empty() || present == former) {
                handleNoDaemon();
            } else {
                handleOwner(present);
            }
        });
        return;
    }
    if (isDaemon && error == AVAHI_ERR_DISCONNECTED) names_.setAnswering(std::nullopt);
    tell(error, std::nullopt);
}

/** Tells outside of Avahi, so that the handler may end the registration; the latest counts. */
void AvahiRegistration::tell(int error, std::optional<std::string> name)
{
    outcome_ = queue_.after(atOnce, [this, error, name = std::move(name)] {
        const auto handler = handler_;
        handler(error, std::optional(name));
    });
}

} // namespace korvane
