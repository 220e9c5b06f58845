#pragma once

#include "desktop/NotificationCenter.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** Notifications that the test sees and answers as the user. */
class FakeNotificationCenter final : public NotificationCenter {
public:
    void setResponseHandler(ResponseHandler handler) override { respond = std::move(handler); }
    void setCategories(std::vector<NotificationCategory> registered) override
    {
        categories = std::move(registered);
    }
    void requestAuthorization(AuthorizationHandler handler) override
    {
        handler(!failure.has_value(), failure);
    }
    void add(NotificationRequest request, AddHandler handler) override
    {
        requests.push_back(std::move(request));
        if (failure) return handler(korvane::failure(*failure));
        handler({});
    }
    void remove(const std::string& identifier) override { removed.push_back(identifier); }

    const NotificationRequest& latest() const { return requests.back(); }

    /** The user chooses an action of the latest notification. */
    void choose(const std::string& action) const { choose(latest(), action); }

    void choose(const NotificationRequest& request, const std::string& action) const
    {
        respond({.identifier = request.identifier,
                 .category = request.content.category,
                 .action = action,
                 .userInformation = request.content.userInformation,
                 .activationToken = "token"});
    }

    std::vector<NotificationRequest> requests;
    std::vector<std::string> removed;
    std::vector<NotificationCategory> categories;
    ResponseHandler respond;
    /** What every request fails with. */
    std::optional<NotificationError> failure;
};

} // namespace korvane
