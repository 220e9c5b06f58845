#pragma once

#include "base/Lifetime.h"
#include "base/Log.h"
#include "base/Result.h"
#include "lib/avahi/AvahiQueuePoll.h"
#include "lib/avahi/AvahiResponder.h"
#include "lib/avahi/AvahiService.h"
#include "lib/avahi/DaemonResponder.h"
#include "lib/avahi/EmbeddedResponder.h"
#include "lib/avahi/ServiceDirectory.h"
#include "lib/systemd/BusNameWatch.h"
#include "lib/systemd/SystemSessionBus.h"
#include "net/HostNames.h"

#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace korvane {

/** One service, in the hands of the daemon or of the embedded responder. Lives on its queue. */
class AvahiRegistration final : public ServiceRegistration, private AvahiResponderObserver {
public:
    AvahiRegistration(AvahiService service, const std::string& busAddress, SerialQueue& queue,
                      HostNames& names, Log& log, ServiceDirectory::ResultHandler handler);

    /** Begins; gives the error when nobody can take the service. */
    Result<void, int> start();

private:
    /** Nobody serves yet: the bus is asked for a daemon until then. */
    struct Looking {
        std::unique_ptr<DelayedTask> deadline;
    };
    struct ServedByDaemon {};
    using ServedHere = std::unique_ptr<EmbeddedResponder>;

    void handleBus(SessionBus::State state);
    void handleOwner(const std::string& owner);
    void handleSilence();
    void handleNoDaemon();
    Result<void, int> serveHere();
    void serveAnew();
    void answering(const AvahiResponder& responder, const std::string& host) override;
    void published(const std::string& name) override;
    void failed(const AvahiResponder& responder, int error) override;
    void tell(int error, std::optional<std::string> name);

    const AvahiService service_;
    SerialQueue& queue_;
    HostNames& names_;
    Log& log_;
    const ServiceDirectory::ResultHandler handler_;
    AvahiQueuePoll poll_;
    SystemSessionBus bus_;
    Lifetime lifetime_;
    /** Of the daemon that the bus knows, whether or not it has answered. */
    std::unique_ptr<DaemonResponder> daemon_;
    std::variant<Looking, ServedHere, ServedByDaemon> server_;
    /** When the embedded responder was started. */
    std::optional<std::string> systemName_;
    std::unique_ptr<DelayedTask> change_;
    std::unique_ptr<DelayedTask> restart_;
    std::unique_ptr<DelayedTask> outcome_;
    BusNameWatch owner_;
    /** After those of the name watch, whose call goes out first. */
    std::unique_ptr<Subscription> busStates_;
};

} // namespace korvane
