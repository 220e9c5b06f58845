#include "lib/avahi/AvahiServiceDirectory.h"

#include "event/SocketFileWatch.h"
#include "lib/avahi/AvahiQueuePoll.h"
#include "lib/avahi/DaemonResponder.h"
#include "lib/avahi/EmbeddedResponder.h"
#include "lib/systemd/BusAddress.h"

#include <avahi-common/error.h>

#include <chrono>
#include <utility>

namespace korvane {

namespace {

/** One service, in the hands of the daemon or of the embedded responder. */
class AvahiRegistration final : public ServiceRegistration, private AvahiResponderObserver {
public:
    AvahiRegistration(AvahiService service, SerialQueue& queue,
                      ServiceDirectory::ResultHandler handler)
        : service_(std::move(service)), queue_(queue), handler_(std::move(handler)), poll_(queue)
    {
    }

    /** Gives the error when neither can take the service. */
    Result<void, int> start()
    {
        lookForDaemon();
        if (daemon_ && daemon_->isServing()) return {};
        auto embedded = EmbeddedResponder::start(poll_.api(), service_, *this);
        if (!embedded) return failure(embedded.error());
        embedded_ = std::move(*embedded);
        return {};
    }

private:
    /** Connects to the bus, on which a daemon may come later; without one, waits for it. */
    void lookForDaemon()
    {
        // Two responders that claim one name would take each other for a stranger.
        auto daemon =
            DaemonResponder::connect(poll_.api(), service_, *this, [this] { embedded_.reset(); });
        if (daemon) {
            daemon_ = std::move(*daemon);
            busWatch_.reset();
        } else if (!busWatch_) {
            busWatch_ = std::make_unique<SocketFileWatch>(systemBusSocket(), queue_,
                                                          [this] { lookForDaemon(); });
        }
    }

    void published(const std::string& name) override { tell(0, name); }

    void failed(const AvahiResponder& responder, int error) override
    {
        const bool isDaemonMissed = &responder == daemon_.get() && !daemon_->isServing();
        if (isDaemonMissed) {
            // The bus has gone while the embedded responder does the work.
            reconnection_ = queue_.after(std::chrono::nanoseconds(0), [this] {
                daemon_.reset();
                lookForDaemon();
            });
        } else {
            tell(error, std::nullopt);
        }
    }

    /** Tells outside of Avahi, so that the handler may end the registration; the latest counts. */
    void tell(int error, std::optional<std::string> name)
    {
        outcome_ = queue_.after(std::chrono::nanoseconds(0), [this, error, name = std::move(name)] {
            const auto handler = handler_;
            handler(error, std::optional(name));
        });
    }

    const AvahiService service_;
    SerialQueue& queue_;
    const ServiceDirectory::ResultHandler handler_;
    AvahiQueuePoll poll_;
    std::unique_ptr<EmbeddedResponder> embedded_;
    std::unique_ptr<DaemonResponder> daemon_;
    std::unique_ptr<SocketFileWatch> busWatch_;
    std::unique_ptr<DelayedTask> reconnection_;
    std::unique_ptr<DelayedTask> outcome_;
};

static_assert(ServiceDirectory::invalidName == AVAHI_ERR_INVALID_SERVICE_NAME);

} // namespace

Result<std::unique_ptr<ServiceRegistration>, int>
AvahiServiceDirectory::registerService(const Registration& registration, SerialQueue& queue,
                                       ResultHandler handler)
{
    AvahiService service = avahiService(registration);
    if (service.name.empty()) return failure(invalidName);
    auto made = std::make_unique<AvahiRegistration>(std::move(service), queue, std::move(handler));
    if (const auto started = made->start(); !started) return failure(started.error());
    return made;
}

} // namespace korvane
