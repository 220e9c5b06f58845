#include "desktop/DesktopNotificationCenter.h"

#include "text/DisplayText.h"
#include "text/Markup.h"
#include "text/PercentEncoding.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxTitle = 200;
constexpr std::size_t maxBody = 1000;

/** How often a server is asked that does not answer: one whose desktop is starting may take its
 *  time. */
constexpr int maxQuestions = 10;

/** Reasons of NotificationClosed. */
constexpr std::uint32_t expired = 1;
constexpr std::uint32_t dismissed = 2;

/** Values of expire_timeout. */
constexpr std::int32_t leftToServer = -1;
constexpr std::int32_t never = 0;

bool isNoReply(const BusError& error)
{
    return error.name == "org.freedesktop.DBus.Error.NoReply";
}

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
      server_(bus, {.onChange = [this] { serverChanged(); },
                    .onActivationToken =
                        [this](std::uint32_t id, const std::string& token) {
                            activation_ = {.id = id, .token = token};
                        },
                    .onAction = [this](std::uint32_t id,
                                       const std::string& key) { handleAction(id, key); },
                    .onClosed = [this](std::uint32_t id,
                                       std::uint32_t reason) { handleClosed(id, reason); }}),
      busState_(bus.watchState([this](SessionBus::State /*state*/) { askIfWanted(); }))
{
}

void DesktopNotificationCenter::setCategories(std::vector<NotificationCategory> categories)
{
    categories_ = std::move(categories);
}

void DesktopNotificationCenter::requestAuthorization(AuthorizationHandler handler)
{
    if (capabilities_) return handler(true, std::nullopt);
    authorizations_.push_back(std::move(handler));
    askIfWanted();
}

void DesktopNotificationCenter::add(NotificationRequest request, AddHandler handler)
{
    submit({std::move(request), std::move(handler)});
}

void DesktopNotificationCenter::remove(const std::string& identifier)
{
    waiting_.remove(identifier);
    if (const auto found = inFlight_.find(identifier); found != inFlight_.end()) {
        const NextStep next = std::exchange(found->second, Removed{});
        if (const auto* replacing = std::get_if<Request>(&next)) replacing->handler({});
    } else if (const std::uint32_t id = shown_.idOf(identifier); id != 0) {
        close(id);
    }
}

void DesktopNotificationCenter::submit(Request request)
{
    if (capabilities_) return post(std::move(request));
    waiting_.add(std::move(request));
    askIfWanted();
}

void DesktopNotificationCenter::serverChanged()
{
    capabilities_.reset();
    shown_.clear();
    if (server_.isPresent()) askIfWanted();
}

void DesktopNotificationCenter::askIfWanted()
{
    const bool isWanted = !waiting_.isEmpty() || !authorizations_.empty();
    if (isWanted && questions_ == 0 && bus_.state() != SessionBus::State::connecting)
        askForCapabilities();
}

void DesktopNotificationCenter::askForCapabilities()
{
    ++questions_;
    server_.call("GetCapabilities", {}, lifetime_.guard([this](const BusReply& reply) {
        if (!reply && isNoReply(reply.error()) && server_.isPresent() && questions_ < maxQuestions)
            return askForCapabilities();
        questions_ = 0;
        if (!reply) return capabilitiesUnknown(reply.error());
        const auto* names = busArgument<std::vector<std::string>>(*reply, 0);
        capabilities_ = names ? Capabilities(names->begin(), names->end()) : Capabilities();
        capabilitiesKnown();
    }));
}

void DesktopNotificationCenter::capabilitiesKnown()
{
    for (const auto& handler : std::exchange(authorizations_, {})) handler(true, std::nullopt);
    for (Request& request : waiting_.takeAll()) submit(std::move(request));
}

void DesktopNotificationCenter::capabilitiesUnknown(const BusError& error)
{
    const NotificationError reason = errorOf(error);
    for (const auto& handler : std::exchange(authorizations_, {})) handler(false, reason);
    if (mayComeLater(reason)) return;
    for (const Request& request : waiting_.takeAll()) request.handler(failure(reason));
}

/** Whether a server that is still to come may show what could not be shown for this reason. */
bool DesktopNotificationCenter::mayComeLater(const NotificationError& error) const
{
    return error.isUnavailable || !server_.isPresent();
}

void DesktopNotificationCenter::post(Request request)
{
    const auto [place, isFirst] = inFlight_.try_emplace(request.request.identifier);
    if (!isFirst) {
        // The ID of the earlier one is not known yet; only the latest request replaces it.
        const NextStep replaced = std::exchange(place->second, std::move(request));
        if (const auto* earlier = std::get_if<Request>(&replaced)) earlier->handler({});
        return;
    }
    auto arguments = notifyArguments(request.request);
    server_.call("Notify", std::move(arguments),
                 lifetime_.guard([this, request = std::move(request)](const BusReply& reply) {
                     posted(request, reply);
                 }));
}

void DesktopNotificationCenter::posted(const Request& request, const BusReply& reply)
{
    const auto& [identifier, content] = request.request;
    NextStep next = std::move(inFlight_.extract(identifier).mapped());
    const auto* id = reply ? busArgument<std::uint32_t>(*reply, 0) : nullptr;
    if (id != nullptr) {
        const auto dropped = shown_.add({.identifier = identifier,
                                         .category = content.category,
                                         .userInformation = content.userInformation,
                                         .id = *id});
        if (dropped) close(*dropped);
        request.handler({});
    } else if (reply) {
        request.handler(
            failure(NotificationError{.text = "Invalid answer from the notification server"}));
    } else if (const auto reason = errorOf(reply.error()); mayComeLater(reason)) {
        waiting_.add(request);
    } else {
        request.handler(failure(reason));
    }
    if (auto* replacing = std::get_if<Request>(&next)) submit(std::move(*replacing));
    if (std::holds_alternative<Removed>(next)) remove(identifier);
}

/** An action of a notification that is closed cannot be chosen any more. */
void DesktopNotificationCenter::close(std::uint32_t id)
{
    shown_.remove(id);
    // It fails where the server has closed it by itself.
    server_.call("CloseNotification", {id}, [](const BusReply& /*reply*/) {});
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
    if (!content.file.empty()) // Plasma shows the file, which can be dragged from there.
        hints.push_back({"x-kde-urls", std::vector{text::fileURI(content.file.native())}});
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
    if (!isOffered) return;
    close(id);
    respond(*entry, key);
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
    const Activation activation = std::exchange(activation_, {});
    if (!onResponse_) return;
    onResponse_({.identifier = entry.identifier,
                 .category = entry.category,
                 .action = action,
                 .userInformation = entry.userInformation,
                 .activationToken = activation.id == entry.id ? activation.token : ""});
}

} // namespace korvane
