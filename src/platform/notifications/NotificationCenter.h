#pragma once

#include "platform/base/Result.h"
#include "platform/notifications/Notification.h"

#include <functional>
#include <optional>
#include <vector>

namespace korvane {

/** The desktop's notifications. Used on one queue, on which all handlers are called; nothing here
 *  waits. */
class NotificationCenter {
public:
    using ResponseHandler = std::function<void(const NotificationResponse&)>;
    using AuthorizationHandler =
        std::function<void(bool granted, const std::optional<NotificationError>& error)>;
    using AddHandler = std::function<void(const Result<void, NotificationError>&)>;

    virtual ~NotificationCenter() = default;

    /** Who is told of the user's responses from now on. */
    virtual void setResponseHandler(ResponseHandler handler) = 0;

    /** Replaces the categories. */
    virtual void setCategories(std::vector<NotificationCategory> categories) = 0;

    /** Asks whether notifications may be shown with a sound; the handler is called once. */
    virtual void requestAuthorization(AuthorizationHandler handler) = 0;

    /** Shows a notification now; the handler is told, once, what came of it. */
    virtual void add(NotificationRequest request, AddHandler handler) = 0;
};

} // namespace korvane
