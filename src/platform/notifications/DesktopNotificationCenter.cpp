#include "platform/notifications/DesktopNotificationCenter.h"

#include "platform/text/DisplayText.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t mostTitle = 200;
constexpr std::size_t mostBody = 1000;

/** Requests that wait for a server to say what it can do. */
constexpr std::size_t mostWaiting = 64;

/** Why a notification was closed. */
constexpr std::uint32_t expired = 1;
constexpr std::uint32_t dismissed = 2;

/** Left to the server, and never, as expire_timeout has them. */
constexpr std::int32_t serversTime = -1;
constexpr std::int32_t never = 0;

NotificationError errorOf(const BusError& error)
{
    constexpr std::array<std::string_view, 4> nobody = {
        "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner",
        "org.freedesktop.DBus.Error.NoServer", "org.freedesktop.DBus.Error.Disconnected"};
    return {.isUnavailable = std::ranges::find(nobody, error.name) != nobody.end() ||
                             error.name.starts_with("org.freedesktop.DBus.Error.Spawn."),
            .text = text::displayLine(error.description(), mostTitle)};
}

/** The text with the marks of the server's markup taken for themselves. */
std::string escapedMarkup(std::string_view text)
{
    std::string escaped;
    for (const char byte : text) {
        switch (byte) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        default: escaped += byte;
        }
    }
    return escaped;
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
                    .onAction = [this](std::uint32_t number,
                                       const std::string& key) { handleAction(number, key); },
                    .onClosed = [this](std::uint32_t number,
                                       std::uint32_t reason) { handleClosed(number, reason); }}),
      busState_(bus.watchState([this](SessionBus::State /*state*/) {
          if (!waitingForServer_.empty()) askForCapabilities();
      }))
{
}

void DesktopNotificationCenter::setCategories(std::vector<NotificationCategory> categories)
{
    categories_ = std::move(categories);
}

void DesktopNotificationCenter::requestAuthorization(AuthorizationHandler handler)
{
    whenServerIsKnown([handler = std::move(handler)](const auto& outcome) {
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
    whenServerIsKnown([this, waiting](const auto& outcome) {
        if (outcome) {
            post(std::move(*waiting));
        } else {
            waiting->handler(outcome);
        }
    });
}

void DesktopNotificationCenter::whenServerIsKnown(CapabilitiesHandler handler)
{
    if (capabilities_) {
        handler({});
    } else if (waitingForServer_.size() >= mostWaiting) {
        handler(failure(NotificationError{.text = "Too many notifications are waiting"}));
    } else {
        waitingForServer_.push_back(std::move(handler));
        if (bus_.state() != SessionBus::State::connecting) askForCapabilities();
    }
}

void DesktopNotificationCenter::askForCapabilities()
{
    if (std::exchange(isAsking_, true)) return;
    server_.call(
        "GetCapabilities", {}, [this, alive = std::weak_ptr<bool>(alive_)](const BusReply& reply) {
            if (alive.expired()) return;
            isAsking_ = false;
            if (!reply) return serverIsKnown(failure(errorOf(reply.error())));
            const auto* names = busArgument<std::vector<std::string>>(*reply, 0);
            capabilities_ = names ? Capabilities(names->begin(), names->end()) : Capabilities();
            serverIsKnown({});
        });
}

void DesktopNotificationCenter::serverIsKnown(const Result<void, NotificationError>& outcome)
{
    for (const auto& handler : std::exchange(waitingForServer_, {})) handler(outcome);
}

void DesktopNotificationCenter::post(Waiting waiting)
{
    const std::string& identifier = waiting.request.identifier;
    if (const auto earlier = underWay_.find(identifier); earlier != underWay_.end()) {
        // Its number is not known yet; of those that replace it only the latest is of interest.
        const auto replaced = std::exchange(earlier->second, std::move(waiting));
        if (replaced) replaced->handler({});
        return;
    }
    underWay_[identifier];
    auto arguments = notifyArguments(waiting.request);
    server_.call("Notify", std::move(arguments),
                 [this, waiting = std::move(waiting),
                  alive = std::weak_ptr<bool>(alive_)](const BusReply& reply) {
                     if (!alive.expired()) posted(waiting, reply);
                 });
}

void DesktopNotificationCenter::posted(const Waiting& waiting, const BusReply& reply)
{
    auto next = underWay_.extract(waiting.request.identifier);
    const auto* number = reply ? busArgument<std::uint32_t>(*reply, 0) : nullptr;
    if (number != nullptr) {
        shown_.add({.identifier = waiting.request.identifier,
                    .category = waiting.request.content.category,
                    .number = *number});
        waiting.handler({});
    } else if (reply) {
        waiting.handler(failure(NotificationError{.text = "The server's answer has no number"}));
    } else {
        waiting.handler(failure(errorOf(reply.error())));
    }
    if (next.mapped()) add(std::move(next.mapped()->request), std::move(next.mapped()->handler));
}

std::vector<BusValue>
DesktopNotificationCenter::notifyArguments(const NotificationRequest& request) const
{
    const NotificationContent& content = request.content;
    std::string body = text::displayText(content.body, mostBody);
    if (capabilities_ && capabilities_->contains("body-markup")) body = escapedMarkup(body);
    return {name_,
            shown_.numberOf(request.identifier),
            program_,
            text::displayLine(content.title, mostTitle),
            std::move(body),
            actionsOf(content),
            hintsOf(content),
            content.stays ? never : serversTime};
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

void DesktopNotificationCenter::handleAction(std::uint32_t number, const std::string& key)
{
    const auto entry = shown_.find(number);
    if (!entry) return; // another program's
    const NotificationCategory* category = findCategory(entry->category);
    const bool isOffered =
        category != nullptr &&
        (key == NotificationResponse::defaultAction ||
         std::ranges::find(category->actions, key, &NotificationAction::identifier) !=
             category->actions.end());
    if (isOffered) respond(*entry, key);
}

void DesktopNotificationCenter::handleClosed(std::uint32_t number, std::uint32_t reason)
{
    const auto entry = shown_.find(number);
    // What has expired waits in the server's list, where the user may still choose.
    if (!entry || reason == expired) return;
    shown_.remove(number);
    const NotificationCategory* category = findCategory(entry->category);
    if (reason == dismissed && category != nullptr && category->reportsDismissal) {
        respond(*entry, NotificationResponse::dismissAction);
    }
}

void DesktopNotificationCenter::respond(const ShownNotifications::Entry& entry,
                                        const std::string& action)
{
    shown_.remove(entry.number);
    if (!onResponse_) return;
    onResponse_({.identifier = entry.identifier, .category = entry.category, .action = action});
}

} // namespace korvane
