#pragma once

#include "base/Lifetime.h"
#include "desktop/NotificationCenter.h"
#include "desktop/NotificationServer.h"
#include "desktop/ShownNotifications.h"
#include "lib/systemd/SessionBus.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvane {

/**
 * Notifications through the server on the session bus (Desktop Notifications Specification 1.2). It
 * may start late, restart or not answer: a request that it did not accept fails, and the next one
 * tries again. Used on the bus's queue.
 */
class DesktopNotificationCenter final : public NotificationCenter {
public:
    /** `program` is the name of the desktop entry and of the icon. The bus outlives the center. */
    DesktopNotificationCenter(SessionBus& bus, std::string name, std::string program);

    void setResponseHandler(ResponseHandler handler) override { onResponse_ = std::move(handler); }
    void setCategories(std::vector<NotificationCategory> categories) override;
    /** Granted when there is a server that answers. */
    void requestAuthorization(AuthorizationHandler handler) override;
    void add(NotificationRequest request, AddHandler handler) override;

private:
    using Capabilities = std::set<std::string>;
    using CapabilitiesHandler = std::function<void(const Result<void, NotificationError>&)>;
    struct Waiting {
        NotificationRequest request;
        AddHandler handler;
    };

    void withCapabilities(CapabilitiesHandler handler);
    void askForCapabilities();
    void capabilitiesKnown(const Result<void, NotificationError>& outcome);
    void post(Waiting waiting);
    void posted(const Waiting& waiting, const BusReply& reply);
    std::vector<BusValue> notifyArguments(const NotificationRequest& request) const;
    std::vector<std::string> actionsOf(const NotificationContent& content) const;
    BusDictionary hintsOf(const NotificationContent& content) const;
    const NotificationCategory* findCategory(const std::string& identifier) const;
    void handleAction(std::uint32_t id, const std::string& key);
    void handleClosed(std::uint32_t id, std::uint32_t reason);
    void respond(const ShownNotifications::Entry& entry, const std::string& action);

    SessionBus& bus_;
    const std::string name_;
    const std::string program_;
    ResponseHandler onResponse_;
    std::vector<NotificationCategory> categories_;
    /** Nothing until the server has answered GetCapabilities. */
    std::optional<Capabilities> capabilities_;
    bool isAsking_ = false;
    std::deque<CapabilitiesHandler> waitingForCapabilities_;
    /** Identifiers of requests that the server has not answered, and the latest to replace each.
     */
    std::map<std::string, std::optional<Waiting>> inFlight_;
    ShownNotifications shown_;
    Lifetime lifetime_;
    NotificationServer server_;
    std::unique_ptr<Subscription> busState_;
};

} // namespace korvane
