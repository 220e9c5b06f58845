#pragma once

#include "base/Lifetime.h"
#include "desktop/NotificationCenter.h"
#include "desktop/NotificationServer.h"
#include "desktop/ShownNotifications.h"
#include "desktop/WaitingRequests.h"
#include "lib/systemd/SessionBus.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace korvane {

/**
 * Notifications through the server on the session bus (Desktop Notifications Specification 1.2). It
 * may start late, as may the bus, restart or not answer: the latest requests wait for a server, and
 * one that it did not accept fails. Used on the bus's queue.
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
    void remove(const std::string& identifier) override;

private:
    using Capabilities = std::set<std::string>;
    using Request = WaitingRequests::Entry;
    struct Removed {};
    /** Nothing, a request that replaces it, or that it is to be closed. */
    using NextStep = std::variant<std::monostate, Request, Removed>;
    struct Activation {
        std::uint32_t id = 0;
        std::string token;
    };

    void serverChanged();
    void askIfWanted();
    void askForCapabilities();
    void capabilitiesKnown();
    void capabilitiesUnknown(const BusError& error);
    bool mayComeLater(const NotificationError& error) const;
    void submit(Request request);
    void post(Request request);
    void posted(const Request& request, const BusReply& reply);
    void close(std::uint32_t id);
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
    /** How often GetCapabilities was called in a row; 0 when it is not under way. */
    int questions_ = 0;
    std::vector<AuthorizationHandler> authorizations_;
    WaitingRequests waiting_;
    /** Identifiers of requests that the server has not answered, and what is to be done then. */
    std::map<std::string, NextStep> inFlight_;
    ShownNotifications shown_;
    Activation activation_;
    Lifetime lifetime_;
    NotificationServer server_;
    std::unique_ptr<Subscription> busState_;
};

} // namespace korvane
