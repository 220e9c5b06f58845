#pragma once

#include <map>
#include <string>
#include <vector>

namespace korvane {

/** Something that the user may choose on a notification. */
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

/** What the user sees. Title and body may be anybody's text; they are made fit to be shown. */
struct NotificationContent {
    enum class Urgency { low, normal, critical };

    std::string title;
    std::string body;
    bool playsSound = true;
    /** The identifier of a registered category; without one nothing can be chosen. */
    std::string category = {};
    /** Stays with us. */
    std::map<std::string, std::string> userInformation = {};
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
};

/** Why a notification is not shown. */
struct NotificationError {
    /** There is nobody to show it: no session bus, or no notification service on it. */
    bool isUnavailable = false;
    std::string text;

    const std::string& description() const { return text; }
};

} // namespace korvane
