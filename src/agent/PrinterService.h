#pragma once

#include "agent/AgentEnvironment.h"
#include "agent/AgentStatus.h"
#include "agent/NoteQueue.h"
#include "agent/PrintJobs.h"
#include "config/AppSettings.h"
#include "document/CompletedJob.h"
#include "ipp/PrinterDescriptor.h"
#include "server/IPPServer.h"

#include <chrono>
#include <cstdint>
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

    /** Whether the settings are others than when they were read last. */
    bool isOutdated() const;

    /** Stops the server. */
    void stop();

    /** What there is to tell of the agent, kept up to date. */
    const std::shared_ptr<AgentStatus>& status() const { return status_; }

    /** Makes a note of the job, off this queue; when that fails the user is told. */
    void addToNotes(const CompletedJob& job);

private:
    /** What the server's queue reads while the main queue may be changing it. */
    struct Shared {
        AppSettings settings;
        std::uint16_t advertisedPort = 0;
    };

    void startServer();
    void stopServer();
    void hostNameChanged();
    void portUnavailable(std::uint16_t port, const std::string& reason);
    void tell(PrinterState::Phase phase, std::string problem = {});
    void tellNetworkName(const std::string& name);
    PrinterCallbacks makeCallbacks();
    PrinterDescriptor makeDescriptor() const;
    Shared shared() const;
    void setAdvertisedPort(std::uint16_t port);
    void identify(const std::string& message);

    const AgentEnvironment environment_;
    Log& log_;
    const std::string printerUUID_;
    const std::shared_ptr<NoteQueue> notes_;
    const std::shared_ptr<AgentStatus> status_;
    /** Made by `start`. */
    std::shared_ptr<PrintJobs> jobs_;
    /** No job is accepted before those that are in the spool are known. */
    bool isRecovered_ = false;
    std::shared_ptr<IPPServer> ippServer_;
    /** Those whose open connections are not finished. */
    std::vector<std::shared_ptr<IPPServer>> stoppedServers_;

    /** When the user was last shown which printer this is. */
    std::optional<std::chrono::steady_clock::time_point> identified_;

    const std::unique_ptr<Subscription> hostNames_;
    mutable std::mutex mutex_;
    Shared shared_;
};

} // namespace korvane
