#pragma once

#include "desktop/UnansweredJobs.h"
#include "document/CompletedJob.h"
#include "platform/fileviewer/FileViewer.h"
#include "platform/log/Log.h"
#include "platform/notifications/NotificationCenter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace korvane {

/**
 * Tells the user about saved jobs and about a port that cannot be used, and does what the user
 * chooses on a notification: shows the file, or hands the job on to become a note. There is one of
 * these. Used on the queue of the notification center, usually the main queue.
 */
class NotificationManager : public std::enable_shared_from_this<NotificationManager> {
public:
    /** All that is referred to outlives the manager. */
    NotificationManager(NotificationCenter& center, FileViewer& viewer, Log& log)
        : center_(center), viewer_(viewer), log_(log)
    {
    }

    /** What "Add to Notes" does; nothing until it is set. */
    std::function<void(const CompletedJob&)> onAddToNotes;

    /** Registers what the user can choose, and asks whether notifications may be shown. */
    void configure();

    /** Tells that a job was saved; with notes enabled, it may be added to them from there. */
    void postJobNotification(const CompletedJob& job, bool notesEnabled);

    /** Tells why the port cannot be used. A later notice for the same port replaces this one. */
    void showPortUnavailable(std::uint16_t port, const std::string& reason);

private:
    void didReceive(const NotificationResponse& response);
    void addToNotes(const CompletedJob& job) const;
    void post(NotificationRequest request, const std::string& failurePrefix);
    void logFailure(const std::string& prefix, const NotificationError& error);

    NotificationCenter& center_;
    FileViewer& viewer_;
    Log& log_;
    /** Guards `pendingJobs_`. */
    std::mutex mutex_;
    UnansweredJobs pendingJobs_;
    /** The log says already that there is nobody to show notifications. */
    bool isKnownUnavailable_ = false;
};

} // namespace korvane
