#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/** What a notification is to remember, by name. */
using UserInformation = std::map<std::string, std::string>;

/** A button on a notification. */
struct NotificationAction {
    std::string identifier;
    std::string title;
};

/** A kind of notification. */
struct NotificationCategory {
    std::string identifier;
    std::vector<NotificationAction> actions = {};
    /** Whether the user's dismissal is a response. */
    bool reportsDismissal = false;
};

/** What the user sees. Title and body may be anybody's text; both are made safe to show. */
struct NotificationContent {
    enum class Urgency { low, normal, critical };

    std::string title;
    std::string body;
    bool playsSound = true;
    /** The identifier of a registered category; without one nothing can be chosen. */
    std::string category = {};
    /** Given back with the user's response. */
    UserInformation userInformation = {};
    /** The file that it is about, which may be dragged from it; empty without one. */
    std::filesystem::path file = {};
    /** The kind of event, in the words of the Desktop Notifications Specification. */
    std::string event = {};
    Urgency urgency = Urgency::normal;
    /** Shown until the user dismisses it. */
    bool stays = false;
};

struct NotificationRequest {
    /** A request with the identifier of an earlier one replaces it. */
    std::string identifier;
    NotificationContent content;
};

/** What the user did with a notification. */
struct NotificationResponse {
    /** The user clicked the notification itself. */
    static constexpr const char* defaultAction = "default";
    /** The user dismissed it. */
    static constexpr const char* dismissAction = "dismiss";

    /** The request's. */
    std::string identifier;
    std::string category;
    /** The identifier of one of the category's actions, or one of the above. */
    std::string action;
    /** The notification's. */
    UserInformation userInformation = {};
    /** What lets a window that is opened now have the focus (XDG Activation); may be empty. */
    std::string activationToken = {};
};

/** Why a notification is not shown. */
struct NotificationError {
    /** There is no session bus, or no notification service on it. */
    bool isUnavailable = false;
    std::string text;

    const std::string& description() const { return text; }
};

/** The desktop's notifications. Used on one queue, on which all handlers are called; no call
 *  blocks. */
class NotificationCenter {
public:
    using ResponseHandler = std::function<void(const NotificationResponse&)>;
    using AuthorizationHandler =
        std::function<void(bool granted, const std::optional<NotificationError>& error)>;
    using AddHandler = std::function<void(const Result<void, NotificationError>&)>;

    virtual ~NotificationCenter() = default;

    /** The handler is called with each of the user's responses from now on. */
    virtual void setResponseHandler(ResponseHandler handler) = 0;

    /** Replaces the categories. */
    virtual void setCategories(std::vector<NotificationCategory> categories) = 0;

    /** Asks whether notifications may be shown with a sound; the handler is called once. */
    virtual void requestAuthorization(AuthorizationHandler handler) = 0;

    /** Shows a notification as soon as there is somebody to show it; the handler is called once
     *  with the outcome, which is no failure for a notification that was replaced or removed
     *  before. One that the user has answered is closed. */
    virtual void add(NotificationRequest request, AddHandler handler) = 0;

    /** Takes the notification back, whether it is shown or waits to be. */
    virtual void remove(const std::string& identifier) = 0;
};

} // namespace korvane
