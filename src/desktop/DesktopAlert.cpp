#include "desktop/DesktopAlert.h"

#include "text/DisplayText.h"

#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxWaiting = 3;
constexpr std::size_t maxMessage = 200;
constexpr std::size_t maxInformation = 1000;

/** zenity's exit status is 0 when the user has pressed the button, and 1 both when the window was
 *  closed and when none could be opened; a user takes longer than this to close one. */
constexpr int pressed = 0;
constexpr std::chrono::milliseconds minTimeToClose{500};

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
    const Warning warning{.message = text::displayLine(message, maxMessage),
                          .information = text::displayText(information, maxInformation)};
    if (!dialog_) {
        show(warning);
    } else if (waiting_.size() < maxWaiting) {
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
            dialogEnded(warning, status == pressed || queue_.now() - opened > minTimeToClose);
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
