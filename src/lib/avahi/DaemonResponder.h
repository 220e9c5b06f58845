#pragma once

#include "base/Lifetime.h"
#include "lib/avahi/AvahiResponder.h"
#include "lib/avahi/ServiceRecords.h"
#include "lib/systemd/SessionBus.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * Publishes a service through the Avahi daemon, over its D-Bus interface: its client library waits
 * for every answer, and a daemon or a bus that is stuck would hold up the agent. Here each answer
 * is awaited as long as it takes. Once it has failed it is of no more use. Used on the bus's queue;
 * the daemon withdraws the service when the connection to the bus is closed.
 */
class DaemonResponder final : public AvahiResponder {
public:
    /** The daemon has the unique name `owner`. `onFound` is told, before the service is published,
     *  that it answers. */
    DaemonResponder(SessionBus& bus, std::string owner, AvahiService service,
                    AvahiResponderObserver& observer, std::function<void()> onFound);

    /** The daemon's unique name on the bus. */
    const std::string& owner() const { return owner_; }

    /** The daemon has answered, and the service is in its hands. */
    bool isServing() const { return isServing_; }

    /** The daemon or the bus has gone. */
    void handleLoss();

private:
    struct Filling {
        /** What is left to call until the group is filled. */
        std::deque<BusCall> calls;
        Lifetime lifetime = {};
    };

    void handleServer(const std::vector<BusValue>& state);
    void askForHost();
    void publishFor(const std::string& host);
    int fillGroup(const AvahiService& service) override;
    void makeGroup();
    void callNext();
    void handleRefusal(const BusError& error);
    BusCall serverCall(const char* member) const;
    BusCall groupCall(const char* member, std::vector<BusValue> arguments = {}) const;
    BusCall addCall(const ServiceRecord& record, AvahiIfIndex interface) const;

    SessionBus& bus_;
    const std::string owner_;
    const std::function<void()> onFound_;
    bool isServing_ = false;
    /** The host's name that the service was published for, in full. */
    std::string host_;
    /** The path of the group of records at the daemon; empty before there is one. */
    std::string group_;
    /** The latest; replies to one that was begun before do not count. */
    std::unique_ptr<Filling> filling_;
    Lifetime lifetime_;
    std::unique_ptr<Subscription> serverStates_;
    std::unique_ptr<Subscription> groupStates_;
};

} // namespace korvane
