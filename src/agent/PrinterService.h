#pragma once

#include "agent/AgentEnvironment.h"
#include "base/Result.h"
#include "config/AppSettings.h"
#include "document/CompletedJob.h"
#include "document/JobPipeline.h"
#include "document/UnsavedJobs.h"
#include "ipp/PrinterDescriptor.h"
#include "server/IPPServer.h"
#include "spool/JobTicket.h"
#include "spool/SpooledJob.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/**
 * Owns the running printer: decides at every reload of the settings whether the server runs,
 * restarts or stops, describes the printer to it, and hands its jobs on to be saved, as well as
 * those that an earlier agent left.
 *
 * Used on the main queue, but for the callbacks that the server makes on its own: they see the
 * state that the main queue last left, whole.
 */
class PrinterService : public std::enable_shared_from_this<PrinterService> {
public:
    /** Loads the printer's UUID, or makes it. */
    explicit PrinterService(AgentEnvironment environment);

    /** Recovers the jobs that are in the spool, in the background, and loads the settings; the
     * server starts when both are done. Called once, before all others. */
    void start();

    /** Reads the settings again and starts, restarts, refreshes or stops the server. */
    void reload();

    /** Stops the server. */
    void stop();

    /** Makes a note of the job, off this queue; when that fails the user is told. */
    void addToNotes(const CompletedJob& job);

private:
    /** What the server's queue reads while the main queue may be changing it. */
    struct Shared {
        AppSettings settings;
        std::uint16_t advertisedPort = 0;
    };

    /** A note that is being made, or that waits for the one before it. */
    struct PendingNote {
        CompletedJob job;
        std::string folder;
    };

    void recovered(const std::vector<std::shared_ptr<SpooledJob>>& jobs);
    void startServer();
    void stopServer();
    void hostNameChanged();
    PrinterCallbacks makeCallbacks();
    PrinterDescriptor makeDescriptor() const;
    void handleCompletedJob(const CompletedJob& job);
    void handleUnsavedJob(const UnsavedJob& unsaved);
    void handleRefusedDocument(const std::filesystem::path& document);
    void addNextNote();
    void noteAdded(const CompletedJob& job, const Result<void, std::string>& added) const;
    void showNotesError(const std::string& reason) const;
    Shared shared() const;
    void setAdvertisedPort(std::uint16_t port);

    const AgentEnvironment environment_;
    Log& log_;
    /** Jobs accepted earlier may be for another folder than that of the settings. */
    const std::chrono::system_clock::time_point launch_;
    const std::string printerUUID_;
    /** Made by `start`. */
    std::shared_ptr<JobPipeline> pipeline_;
    UnsavedJobs unsavedJobs_;
    bool isRecovered_ = false;
    /** When the user was last told of one. */
    std::optional<std::chrono::steady_clock::time_point> toldOfRefusedDocument_;
    std::shared_ptr<IPPServer> ippServer_;
    /** Those whose open connections are not finished. */
    std::vector<std::shared_ptr<IPPServer>> stoppedServers_;
    /** One at a time, so that two notes do not both make the same folder. */
    std::deque<PendingNote> notes_;

    const std::unique_ptr<Subscription> hostNames_;
    mutable std::mutex mutex_;
    Shared shared_;
};

} // namespace korvane
