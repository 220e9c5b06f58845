#include "desktop/DesktopNotificationCenter.h"

#include "text/DisplayText.h"
#include "text/Markup.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxTitle = 200;
constexpr std::size_t maxBody = 1000;

/** Requests that wait for the server's capabilities. */
constexpr std::size_t maxWaiting = 64;

/** Reasons of NotificationClosed. */
constexpr std::uint32_t expired = 1;
constexpr std::uint32_t dismissed = 2;

/** Values of expire_timeout. */
constexpr std::int32_t leftToServer = -1;
constexpr std::int32_t never = 0;

NotificationError errorOf(const BusError& error)
{
    constexpr std::array<std::string_view, 4> unavailable = {
        "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner",
        "org.freedesktop.DBus.Error.NoServer", "org.freedesktop.DBus.Error.Disconnected"};
    return {.isUnavailable = std::ranges::find(unavailable, error.name) != unavailable.end() ||
                             error.name.starts_with("org.freedesktop.DBus.Error.Spawn."),
            .text = text::displayLine(error.description(), maxTitle)};
}

} // namespace

DesktopNotificationCenter::DesktopNotificationCenter(SessionBus& bus, std::string name,
                                                     std::string program)
    : bus_(bus), name_(std::move(name)), program_(std::move(program)),
      server_(bus, {.onChange =
                        [this] {
                            capabilities_.reset();
                            shown_.clear();
                        },
                    .onAction = [this](std::uint32_t id,
                                       const std::string& key) { handleAction(id, key); },
                    .onClosed = [this](std::uint32_t id,
                                       std::uint32_t reason) { handleClosed(id, reason); }}),
      busState_(bus.watchState([this](SessionBus::State /*state*/) {
          if (!waitingForCapabilities_.empty()) askForCapabilities();
      }))
{
}

void DesktopNotificationCenter::setCategories(std::vector<NotificationCategory> categories)
{
    categories_ = std::move(categories);
}

void DesktopNotificationCenter::requestAuthorization(AuthorizationHandler handler)
{
    withCapabilities([handler = std::move(handler)](const auto& outcome) {
        if (outcome) {
            handler(true, std::nullopt);
        } else {
            handler(false, outcome.error());
        }
    });
}

void DesktopNotificationCenter::add(NotificationRequest request, AddHandler handler)
{
    auto waiting = std::make_shared<Waiting>(Waiting{std::move(request), std::move(handler)});
    withCapabilities([this, waiting](const auto& outcome) {
        if (outcome) {
            post(std::move(*waiting));
        } else {
            waiting->handler(outcome);
        }
    });
}

void DesktopNotificationCenter::withCapabilities(CapabilitiesHandler handler)
{
    if (capabilities_) {
        handler({});
    } else if (waitingForCapabilities_.size() >= maxWaiting) {
        handler(failure(NotificationError{.text = "Too many notifications are waiting"}));
    } else {
        waitingForCapabilities_.push_back(std::move(handler));
        if (bus_.state() != SessionBus::State::connecting) askForCapabilities();
    }
}

void DesktopNotificationCenter::askForCapabilities()
{
    if (std::exchange(isAsking_, true)) return;
    server_.call("GetCapabilities", {}, lifetime_.guard([this](const BusReply& reply) {
        isAsking_ = false;
        if (!reply) return capabilitiesKnown(failure(errorOf(reply.error())));
        const auto* names = busArgument<std::vector<std::string>>(*reply, 0);
        capabilities_ = names ? Capabilities(names->begin(), names->end()) : Capabilities();
        capabilitiesKnown({});
    }));
}

void DesktopNotificationCenter::capabilitiesKnown(const Result<void, NotificationError>& outcome)
{
    for (const auto& handler : std::exchange(waitingForCapabilities_, {})) handler(outcome);
}

void DesktopNotificationCenter::post(Waiting waiting)
{
    const std::string& identifier = waiting.request.identifier;
    if (const auto earlier = inFlight_.find(identifier); earlier != inFlight_.end()) {
        // Its ID is not known yet; only the latest request replaces it.
        const auto replaced = std::exchange(earlier->second, std::move(waiting));
        if (replaced) replaced->handler({});
        return;
    }
    inFlight_[identifier];
    auto arguments = notifyArguments(waiting.request);
    server_.call("Notify", std::move(arguments),
                 lifetime_.guard([this, waiting = std::move(waiting)](const BusReply& reply) {
                     posted(waiting, reply);
                 }));
}

void DesktopNotificationCenter::posted(const Waiting& waiting, const BusReply& reply)
{
    auto next = inFlight_.extract(waiting.request.identifier);
    const auto* id = reply ? busArgument<std::uint32_t>(*reply, 0) : nullptr;
    if (id != nullptr) {
        shown_.add({.identifier = waiting.request.identifier,
                    .category = waiting.request.content.category,
                    .id = *id});
        waiting.handler({});
    } else if (reply) {
        waiting.handler(
            failure(NotificationError{.text = "Invalid answer from the notification server"}));
    } else {
        waiting.handler(failure(errorOf(reply.error())));
    }
    if (next.mapped()) add(std::move(next.mapped()->request), std::move(next.mapped()->handler));
}

std::vector<BusValue>
DesktopNotificationCenter::notifyArguments(const NotificationRequest& request) const
{
    const NotificationContent& content = request.content;
    std::string body = text::displayText(content.body, maxBody);
    if (capabilities_ && capabilities_->contains("body-markup")) body = text::contentEscape(body);
    return {name_,
            shown_.idOf(request.identifier),
            program_,
            text::displayLine(content.title, maxTitle),
            std::move(body),
            actionsOf(content),
            hintsOf(content),
            content.stays ? never : leftToServer};
}

/** Keys and titles in turn. */
std::vector<std::string>
DesktopNotificationCenter::actionsOf(const NotificationContent& content) const
{
    const NotificationCategory* category = findCategory(content.category);
    if (category == nullptr || !capabilities_ || !capabilities_->contains("actions")) return {};
    std::vector<std::string> actions = {NotificationResponse::defaultAction, "Open"};
    for (const NotificationAction& action : category->actions) {
        actions.push_back(action.identifier);
        actions.push_back(action.title);
    }
    return actions;
}

BusDictionary DesktopNotificationCenter::hintsOf(const NotificationContent& content) const
{
    BusDictionary hints = {{"desktop-entry", program_},
                           {"urgency", static_cast<std::uint8_t>(content.urgency)}};
    if (content.playsSound) hints.push_back({"sound-name", std::string("message-new-instant")});
    if (!content.event.empty()) hints.push_back({"category", content.event});
    return hints;
}

const NotificationCategory*
DesktopNotificationCenter::findCategory(const std::string& identifier) const
{
    const auto found =
        std::ranges::find(categories_, identifier, &NotificationCategory::identifier);
    return found == categories_.end() ? nullptr : &*found;
}

void DesktopNotificationCenter::handleAction(std::uint32_t id, const std::string& key)
{
    const auto entry = shown_.find(id);
    if (!entry) return; // a notification of another program
    const NotificationCategory* category = findCategory(entry->category);
    const bool isOffered =
        category != nullptr &&
        (key == NotificationResponse::defaultAction ||
         std::ranges::find(category->actions, key, &NotificationAction::identifier) !=
             category->actions.end());
    if (isOffered) respond(*entry, key);
}

void DesktopNotificationCenter::handleClosed(std::uint32_t id, std::uint32_t reason)
{
    const auto entry = shown_.find(id);
    // An expired one is still in the server's list, where the user may choose an action.
    if (!entry || reason == expired) return;
    shown_.remove(id);
    const NotificationCategory* category = findCategory(entry->category);
    if (reason == dismissed && category != nullptr && category->reportsDismissal) {
        respond(*entry, NotificationResponse::dismissAction);
    }
}

void DesktopNotificationCenter::respond(const ShownNotifications::Entry& entry,
                                        const std::string& action)
{
    shown_.remove(entry.id);
    if (!onResponse_) return;
    onResponse_({.identifier = entry.identifier, .category = entry.category, .action = action});
}

} // namespace korvane
