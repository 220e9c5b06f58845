#pragma once

#include "config/AppSettings.h"
#include "config/SettingsStore.h"
#include "document/CompletedJob.h"
#include "document/JobPipeline.h"
#include "ipp/PrinterDescriptor.h"
#include "platform/base/Data.h"
#include "server/IPPServer.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace korvane {

/**
 * Owns the running printer: decides at every reload of the settings whether the server runs,
 * restarts or stops, describes the printer to it, and hands its jobs on to be saved.
 *
 * Used on the main queue, but for the two callbacks that the server makes on its own: they see the
 * state that the main queue last left, whole.
 */
class PrinterService : public std::enable_shared_from_this<PrinterService> {
public:
    /** Loads the printer's UUID, or makes it. `hostName` is the computer's name, if it has one. All
     *  that is referred to outlives the service. */
    PrinterService(const SettingsStore& store, std::optional<std::string> hostName,
                   const ServerEnvironment& environment, const JobEnvironment& jobs);

    /** Reads the settings again and starts, restarts, refreshes or stops the server. */
    void reload();

    /** Stops the server. */
    void stop();

private:
    /** What the server's queue reads while the main queue may be changing it. */
    struct Shared {
        AppSettings settings;
        std::shared_ptr<JobPipeline> pipeline;
        std::uint16_t advertisedPort = 0;
    };

    void startServer();
    void stopServer();
    PrinterDescriptor makeDescriptor() const;
    void handleJob(const std::string& jobName, const Data& pdf) const;
    void handleCompletedJob(const CompletedJob& job) const;
    Shared shared() const;
    void setAdvertisedPort(std::uint16_t port);

    const SettingsStore& store_;
    const std::optional<std::string> hostName_;
    const ServerEnvironment environment_;
    const JobEnvironment jobs_;
    Log& log_;
    const std::string printerUUID_;
    std::shared_ptr<IPPServer> ippServer_;

    mutable std::mutex mutex_;
    Shared shared_;
};

} // namespace korvane
