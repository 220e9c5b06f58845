#include "platform/alert/DesktopAlert.h"

#include "platform/text/DisplayText.h"

#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t mostWaiting = 3;
constexpr std::size_t mostMessage = 200;
constexpr std::size_t mostInformation = 1000;

/** zenity ends with success when the user has pressed the button, and with the same status when the
 *  window was closed as when none could be opened; but no user is that fast. */
constexpr int pressed = 0;
constexpr std::chrono::milliseconds fastestUser{500};

/** zenity reads a backslash as the beginning of an escape sequence. */
std::string escaped(std::string_view text)
{
    std::string whole;
    for (const char byte : text) {
        if (byte == '\\') whole += byte;
        whole += byte;
    }
    return whole;
}

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr && *value != '\0';
}

} // namespace

bool hasDisplay()
{
    return isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

void DesktopAlert::warn(const std::string& message, const std::string& information)
{
    const Warning warning{.message = text::displayLine(message, mostMessage),
                          .information = text::displayText(information, mostInformation)};
    if (!dialog_) {
        show(warning);
    } else if (waiting_.size() < mostWaiting) {
        waiting_.push_back(warning);
    }
}

void DesktopAlert::show(const Warning& warning)
{
    if (!hasDisplay_ || !openDialog(warning)) notify(warning);
}

bool DesktopAlert::openDialog(const Warning& warning)
{
    auto dialog = ChildProcess::start(
        {"zenity", "--warning", "--no-markup", "--title=Korvane",
         "--text=" + escaped(warning.message + "\n\n" + warning.information)},
        queue_, [this, warning, opened = queue_.now()](int status) {
            dialogEnded(warning, status == pressed || queue_.now() - opened > fastestUser);
        });
    if (!dialog) return false;
    dialog_ = std::move(*dialog);
    return true;
}

void DesktopAlert::dialogEnded(const Warning& warning, bool wasSeen)
{
    dialog_.reset();
    if (!wasSeen) notify(warning);
    while (!dialog_ && !waiting_.empty()) {
        show(waiting_.front());
        waiting_.pop_front();
    }
}

/** Only the latest warning stays up in this way. */
void DesktopAlert::notify(const Warning& warning)
{
    notifications_.add({.identifier = "KV_ALERT",
                        .content = {.title = warning.message,
                                    .body = warning.information,
                                    .event = "transfer.error",
                                    .urgency = NotificationContent::Urgency::critical,
                                    .stays = true}},
                       [](const auto& /*added*/) {});
}

} // namespace korvane
