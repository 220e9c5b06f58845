#pragma once

#include "base/Result.h"
#include "lib/avahi/AvahiResponder.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>

#include <functional>
#include <memory>
#include <string>

namespace korvane {

/**
 * Publishes a service through the Avahi daemon. While there is none, it waits on the system bus for
 * one to come. Once it has failed it is of no more use.
 */
class DaemonResponder final : public AvahiResponder {
public:
    /** Fails with Avahi's error where there is no system bus. `onFound` is told, before the service
     *  is published, that there is a daemon. */
    static Result<std::unique_ptr<DaemonResponder>, int> connect(const AvahiPoll* poll,
                                                                 AvahiService service,
                                                                 AvahiResponderObserver& observer,
                                                                 std::function<void()> onFound);

    ~DaemonResponder() override;

    /** There is a daemon, and the service is in its hands. */
    bool isServing() const { return isServing_; }

private:
    DaemonResponder(AvahiService service, AvahiResponderObserver& observer,
                    std::function<void()> onFound);

    void handleClient(AvahiClient* client, AvahiClientState state);
    void serve();
    void publishForHost();
    int fillGroup(const AvahiService& service) override;
    int addToGroup(const AvahiService& service);
    int makeGroup();

    const std::function<void()> onFound_;
    bool isServing_ = false;
    /** The host's name that the service was published for. */
    std::string host_;
    AvahiClient* client_ = nullptr;
    AvahiEntryGroup* group_ = nullptr;
};

} // namespace korvane
