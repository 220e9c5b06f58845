#pragma once

#include "agent/AgentStatus.h"
#include "base/Log.h"
#include "base/SystemError.h"
#include "config/AppSettings.h"
#include "desktop/NotificationManager.h"
#include "document/CompletedJob.h"
#include "document/JobEnvironment.h"
#include "document/JobPipeline.h"
#include "document/UnsavedJob.h"
#include "document/UnsavedJobs.h"
#include "event/Queue.h"
#include "job/PrintJob.h"
#include "spool/SpooledJob.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace korvane {

/** The printer's jobs from the moment in which they are accepted, those of earlier agents included:
 *  hands them to the pipeline, and tells the user and the status what becomes of them. Main queue
 * only, but for `process`. */
class PrintJobs : public std::enable_shared_from_this<PrintJobs> {
public:
    using Settings = std::function<AppSettings()>;

    /** `settings` gives those of the last reload. */
    static std::shared_ptr<PrintJobs> make(JobEnvironment environment,
                                           std::shared_ptr<NotificationManager> notifications,
                                           std::shared_ptr<AgentStatus> status, Settings settings);
    PrintJobs(const PrintJobs&) = delete;
    PrintJobs& operator=(const PrintJobs&) = delete;
    ~PrintJobs() = default;

    /** Has the jobs that are in the spool finished. `recovered` is called on the main queue once
     *  they are known, when new ones may be accepted. */
    void recover(Task recovered);

    /** Saves an accepted job, and tells in its `printJob` how it gets on. Any thread. */
    void process(std::shared_ptr<SpooledJob> job, std::shared_ptr<PrintJob> printJob)
    {
        status_->jobs().add(printJob);
        pipeline_->process(std::move(job), std::move(printJob));
    }

    /** Tries to save jobs that could not be saved. */
    void retryUnsaved() { unsavedJobs_.tryAgain(); }

    /** Tells the user where a document is that could not be read. */
    void handleRefusedDocument(const std::filesystem::path& document);

private:
    PrintJobs(JobEnvironment environment, std::shared_ptr<NotificationManager> notifications,
              std::shared_ptr<AgentStatus> status, Settings settings);

    void tellOfUnusableSpool(const SystemError& error);
    void processAgain(std::shared_ptr<SpooledJob> job);
    void begin(const std::vector<std::shared_ptr<SpooledJob>>& jobs);
    void handleCompletedJob(const CompletedJob& job);
    void handleUnsavedJob(const UnsavedJob& unsaved);

    const JobEnvironment environment_;
    Log& log_;
    const std::shared_ptr<NotificationManager> notifications_;
    const std::shared_ptr<AgentStatus> status_;
    const Settings settings_;
    /** Jobs accepted earlier may be for another folder than that of the settings. */
    const std::chrono::system_clock::time_point launch_;
    std::shared_ptr<JobPipeline> pipeline_;
    UnsavedJobs unsavedJobs_;
    /** When the user was last told of one. */
    std::optional<std::chrono::steady_clock::time_point> toldOfRefusedDocument_;
};

} // namespace korvane
