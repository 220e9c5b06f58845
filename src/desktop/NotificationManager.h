#pragma once

#include "base/Log.h"
#include "desktop/FileViewer.h"
#include "desktop/NoteViewer.h"
#include "desktop/NotificationCenter.h"
#include "desktop/PendingNotifications.h"
#include "document/CompletedJob.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace korvane {

/**
 * Notifies the user of saved jobs, of documents that could not be saved and of a port that cannot
 * be used, and does what the user chooses on a notification: shows the file or the note, or passes
 * the job to `onAddToNotes`. All of it runs on the queue of the notification center, the main
 * queue; a response arrives there too, so it finds the map of pending jobs before or after a
 * change, never within one.
 */
class NotificationManager : public std::enable_shared_from_this<NotificationManager> {
public:
    /** All that is referred to outlives the manager. */
    NotificationManager(NotificationCenter& center, FileViewer& files, NoteViewer& notes, Log& log)
        : center_(center), files_(files), notes_(notes), log_(log)
    {
    }

    /** What "Add to Notes" does; nothing until it is set. */
    std::function<void(const CompletedJob&)> onAddToNotes;

    /** Registers the categories with their actions, and requests authorization. */
    void configure();

    /** Shows that a job was saved; with notes enabled, it offers to add the job to them. */
    void postJobNotification(const CompletedJob& job, bool notesEnabled);

    /** Shows why the port cannot be used. A later notice for the same port replaces this one. */
    void showPortUnavailable(std::uint16_t port, const std::string& reason);

    /** A port can be used: what was shown of ports that cannot be is taken back. */
    void removePortUnavailable();

    /** Shows that a note was made of the job, and offers to show the note of this id. */
    void showNoteAdded(const std::string& jobName, const std::string& noteID);

    /** Shows why no documents can be taken, where they are to be kept until they are saved. */
    void showSpoolUnusable(const std::filesystem::path& stateFolder, const std::string& reason);

    /** Shows that the save folder is missing, or why it cannot be written, and where a document is
     *  kept meanwhile. A later notice for the same folder replaces this one. */
    void showUnsaved(const std::string& jobName, const std::filesystem::path& saveFolder,
                     const std::filesystem::path& document, const std::string& writeError);

    /** Shows where a document is that could not be read. A later notice replaces this one. */
    void showRefused(const std::filesystem::path& document);

    /** Shows which printer this is to somebody on the network who asks for it, with what he has to
     *  say, if anything. A later notice replaces this one. */
    void showIdentify(const std::string& printerName, const std::string& message);

private:
    void postWithFile(const std::string& identifier, const std::filesystem::path& file,
                      NotificationContent content, const std::string& failurePrefix);
    void didReceive(const NotificationResponse& response);
    void reveal(const std::filesystem::path& file, const std::string& activationToken);
    void showNote(const NotificationResponse& response);
    void showPlace(const std::string& title, const std::string& place);
    void post(NotificationRequest request, const std::string& failurePrefix);
    void logFailure(const std::string& prefix, const NotificationError& error);

    NotificationCenter& center_;
    FileViewer& files_;
    NoteViewer& notes_;
    Log& log_;
    PendingNotifications pendingJobs_;
    /** The notices of ports that cannot be used. */
    std::set<std::string> portNotices_;
    /** It is logged already that there is no notification service. */
    bool isKnownUnavailable_ = false;
};

} // namespace korvane
