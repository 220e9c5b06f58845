#include "desktop/NotificationManager.h"

#include "base/UUID.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr const char* notesEnabledCategory = "KV_JOB_NOTES_ENABLED";
constexpr const char* notesDisabledCategory = "KV_JOB_NOTES_DISABLED";
constexpr const char* noteAddedCategory = "KV_NOTE_ADDED";
constexpr const char* addToNotesAction = "KV_ACTION_ADD_TO_NOTES";
constexpr const char* revealAction = "KV_ACTION_REVEAL";
constexpr const char* openNoteAction = "KV_ACTION_OPEN_NOTE";

/** Keys of the user information. */
constexpr const char* pdfPath = "pdfPath";
constexpr const char* noteID = "noteID";
constexpr const char* noteTitle = "noteTitle";

std::string valueOf(const UserInformation& information, const std::string& key)
{
    const auto found = information.find(key);
    return found == information.end() ? "" : found->second;
}

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
                           {.identifier = notesDisabledCategory, .actions = {reveal}},
                           {.identifier = noteAddedCategory,
                            .actions = {{.identifier = openNoteAction, .title = "Open"}}}});
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
                      .userInformation = {{pdfPath, job.pdfURL.string()}},
                      .file = job.pdfURL,
                      .event = "transfer.complete"}},
         "Notifications: post failed: ");
}

void NotificationManager::showPortUnavailable(std::uint16_t port, const std::string& reason)
{
    const std::string identifier = fmt::format("KV_PORT_UNAVAILABLE_{}", port);
    portNotices_.insert(identifier);
    post({.identifier = identifier,
          .content = {.title = "Korvane can't start",
                      .body = fmt::format("Port {} is unavailable ({}). The printer won't appear "
                                          "until the port is free, or you pick another one in "
                                          "Settings.",
                                          port, reason),
                      .event = "network.error"}},
         "Notifications: port-unavailable post failed: ");
}

void NotificationManager::removePortUnavailable()
{
    for (const std::string& identifier : std::exchange(portNotices_, {}))
        center_.remove(identifier);
}

void NotificationManager::showNoteAdded(const std::string& jobName, const std::string& id)
{
    post({.identifier = makeIdentifier(),
          .content = {.title = "Added to Notes",
                      .body = jobName,
                      .playsSound = false,
                      .category = noteAddedCategory,
                      .userInformation = {{noteID, id}, {noteTitle, jobName}},
                      .event = "transfer.complete"}},
         "Notifications: note-added post failed: ");
}

void NotificationManager::showSpoolUnusable(const std::filesystem::path& stateFolder,
                                            const std::string& reason)
{
    post({.identifier = "KV_SPOOL_UNUSABLE",
          .content = {.title = "Korvane can't take documents",
                      .body = fmt::format("{} can't be used ({}). Until it can, and Korvane is "
                                          "started again, what is printed is refused.",
                                          stateFolder.string(), reason),
                      .event = "device.error"}},
         "Notifications: unusable-spool post failed: ");
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

/** Says whose words the message is: anybody on the network can send one. */
void NotificationManager::showIdentify(const std::string& printerName, const std::string& message)
{
    std::string body = fmt::format("Somebody on the network is looking for {}.", printerName);
    if (!message.empty()) body += fmt::format(" The message with it: {}", message);
    post({.identifier = "KV_IDENTIFY",
          .content = {.title = "Here I am",
                      .body = std::move(body),
                      .playsSound = false,
                      .event = "device"}},
         "Notifications: identify post failed: ");
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
    content.userInformation = {{pdfPath, file.string()}};
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
    const bool isClick = response.action == NotificationResponse::defaultAction;
    const bool isForNotes = response.category == notesEnabledCategory;
    if (response.action == openNoteAction || (isClick && response.category == noteAddedCategory))
        return showNote(response);
    const bool wantsNote = response.action == addToNotesAction || (isClick && isForNotes);
    if (wantsNote && job) {
        if (onAddToNotes) onAddToNotes(*job);
    } else if (wantsNote || response.action == revealAction || isClick) {
        // The text of a job that was dropped is gone, its file is not.
        reveal(job ? job->pdfURL.string() : valueOf(response.userInformation, pdfPath),
               response.activationToken);
    }
}

void NotificationManager::reveal(const std::filesystem::path& file,
                                 const std::string& activationToken)
{
    if (file.empty()) return;
    files_.reveal(file, activationToken, [weak = weak_from_this(), file](const auto& shown) {
        const auto self = weak.lock();
        if (!self || shown) return;
        self->log_.error(
            fmt::format("Notifications: can't show {}: {}", file.string(), shown.error()));
        self->showPlace("Couldn't show the document", file.string());
    });
}

void NotificationManager::showNote(const NotificationResponse& response)
{
    const std::string id = valueOf(response.userInformation, noteID);
    const std::string title = valueOf(response.userInformation, noteTitle);
    notes_.show(
        id, response.activationToken, [weak = weak_from_this(), id, title](const auto& shown) {
            const auto self = weak.lock();
            if (!self || shown) return;
            const std::string place = id.starts_with('/') ? id : fmt::format("in Notes: {}", title);
            self->log_.error(fmt::format("Notifications: can't show {}: {}", id, shown.error()));
            self->showPlace("Couldn't show the note", place);
        });
}

/** Tells the user where it is that nothing on this desktop could show. */
void NotificationManager::showPlace(const std::string& title, const std::string& place)
{
    post({.identifier = "KV_NOT_SHOWN",
          .content = {.title = title,
                      .body = fmt::format("It is {}", place),
                      .playsSound = false,
                      .event = "transfer.error"}},
         "Notifications: place post failed: ");
}

} // namespace korvane
