#include "desktop/NotificationManager.h"

#include "base/UUID.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr const char* notesEnabledCategory = "KV_JOB_NOTES_ENABLED";
constexpr const char* notesDisabledCategory = "KV_JOB_NOTES_DISABLED";
constexpr const char* addToNotesAction = "KV_ACTION_ADD_TO_NOTES";
constexpr const char* revealAction = "KV_ACTION_REVEAL";

/** A random UUID (RFC 9562) in upper case. */
std::string makeIdentifier()
{
    std::string identifier = makeRandomUUID();
    std::ranges::transform(identifier, identifier.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'f' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return identifier;
}

} // namespace

void NotificationManager::configure()
{
    center_.setResponseHandler([weak = weak_from_this()](const NotificationResponse& response) {
        if (const auto self = weak.lock()) self->didReceive(response);
    });
    const NotificationAction addToNotes{.identifier = addToNotesAction, .title = "Add to Notes"};
    const NotificationAction reveal{.identifier = revealAction, .title = "Show in Finder"};
    center_.setCategories({{.identifier = notesEnabledCategory,
                            .actions = {addToNotes, reveal},
                            .reportsDismissal = true},
                           {.identifier = notesDisabledCategory, .actions = {reveal}}});
    center_.requestAuthorization([weak = weak_from_this()](bool granted, const auto& error) {
        const auto self = weak.lock();
        if (!self) return;
        if (error) self->logFailure("Notifications: auth error: ", *error);
        self->log_.note(fmt::format("Notifications: granted={}", granted));
    });
}

void NotificationManager::postJobNotification(const CompletedJob& job, bool notesEnabled)
{
    const std::string identifier = makeIdentifier();
    pendingJobs_.add(identifier, job);
    post({.identifier = identifier,
          .content = {.title = job.jobName,
                      .body = job.summary,
                      .category = notesEnabled ? notesEnabledCategory : notesDisabledCategory,
                      .userInformation = {{"pdfPath", job.pdfURL.string()}},
                      .event = "transfer.complete"}},
         "Notifications: post failed: ");
}

void NotificationManager::showPortUnavailable(std::uint16_t port, const std::string& reason)
{
    post({.identifier = fmt::format("KV_PORT_UNAVAILABLE_{}", port),
          .content = {.title = "Korvane can't start",
                      .body = fmt::format("Port {} is unavailable ({}). The printer won't appear "
                                          "until the port is free, or you pick another one in "
                                          "Settings.",
                                          port, reason),
                      .event = "network.error"}},
         "Notifications: port-unavailable post failed: ");
}

void NotificationManager::showUnsaved(const std::string& jobName,
                                      const std::filesystem::path& saveFolder,
                                      const std::filesystem::path& document,
                                      const std::string& writeError)
{
    const std::string body =
        writeError.empty()
            ? fmt::format("The folder {} is missing. Until it is back, documents are kept in {}.",
                          saveFolder.string(), document.parent_path().string())
            : fmt::format("{} can't be written to ({}). The document is kept as {}.",
                          saveFolder.string(), writeError, document.string());
    postWithFile("KV_UNSAVED_" + saveFolder.string(), document,
                 {.title = fmt::format("Couldn't save {}", jobName),
                  .body = body,
                  .event = "transfer.error"},
                 "Notifications: unsaved-document post failed: ");
}

void NotificationManager::showRefused(const std::filesystem::path& document)
{
    postWithFile("KV_REFUSED", document,
                 {.title = "Couldn't read a document",
                  .body = fmt::format("It is damaged or of an unknown format, and was not printed. "
                                      "Its bytes are kept as {}.",
                                      document.string()),
                  .event = "transfer.error"},
                 "Notifications: refused-document post failed: ");
}

/** The file is shown when the user asks for it, as that of a saved job is. */
void NotificationManager::postWithFile(const std::string& identifier,
                                       const std::filesystem::path& file,
                                       NotificationContent content,
                                       const std::string& failurePrefix)
{
    pendingJobs_.take(identifier); // The user has not answered the one that this replaces.
    pendingJobs_.add(identifier, {.pdfURL = file});
    content.category = notesDisabledCategory;
    post({.identifier = identifier, .content = std::move(content)}, failurePrefix);
}

void NotificationManager::post(NotificationRequest request, const std::string& failurePrefix)
{
    center_.add(std::move(request), [weak = weak_from_this(), failurePrefix](const auto& added) {
        const auto self = weak.lock();
        if (!self) return;
        if (added) {
            self->isKnownUnavailable_ = false;
        } else {
            self->logFailure(failurePrefix, added.error());
        }
    });
}

/** An unavailable notification service is logged once, not for every job. */
void NotificationManager::logFailure(const std::string& prefix, const NotificationError& error)
{
    if (error.isUnavailable && std::exchange(isKnownUnavailable_, true)) return;
    log_.error(prefix + error.description());
}

void NotificationManager::didReceive(const NotificationResponse& response)
{
    const auto job = pendingJobs_.take(response.identifier);
    if (!job) return;
    const bool isClick = response.action == NotificationResponse::defaultAction;
    const bool isForNotes = response.category == notesEnabledCategory;
    if (response.action == addToNotesAction || (isClick && isForNotes)) {
        if (onAddToNotes) onAddToNotes(*job);
    } else if (response.action == revealAction || isClick) {
        viewer_.reveal(job->pdfURL);
    }
}

} // namespace korvane
