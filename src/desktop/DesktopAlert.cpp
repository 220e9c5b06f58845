#include "desktop/DesktopAlert.h"

#include "text/DisplayText.h"

#include <chrono>
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

} // namespace

void DesktopAlert::warn(const std::string& message, const std::string& information)
{
    if (warnings_.size() > maxWaiting) return;
    warnings_.push_back({.message = text::displayLine(message, maxMessage),
                         .information = text::displayText(information, maxInformation)});
    if (warnings_.size() == 1) showFirst();
}

void DesktopAlert::showFirst()
{
    environment_.read(lifetime_.guard([this](const SessionEnvironment::Variables& environment) {
        if (!hasDisplay(environment) || !openDialog(environment)) firstShown(false);
    }));
}

bool DesktopAlert::openDialog(const SessionEnvironment::Variables& environment)
{
    const Warning& warning = warnings_.front();
    auto dialog = ChildProcess::start(
        {.arguments = {"zenity", "--warning", "--no-markup", "--title=Korvane",
                       "--text=" + escaped(warning.message + "\n\n" + warning.information)},
         .environment = environment},
        queue_, [this, opened = queue_.now()](int status) {
            firstShown(status == pressed || queue_.now() - opened > minTimeToClose);
        });
    if (!dialog) return false;
    dialog_ = std::move(*dialog);
    return true;
}

void DesktopAlert::firstShown(bool wasSeen)
{
    dialog_.reset();
    const Warning warning = std::move(warnings_.front());
    warnings_.pop_front();
    if (!wasSeen) notify(warning);
    if (!warnings_.empty()) showFirst();
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
