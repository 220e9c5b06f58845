#pragma once

#include "document/CompletedJob.h"
#include "platform/base/Data.h"
#include "platform/log/Log.h"
#include "platform/queue/Queue.h"
#include "platform/system/Clock.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

/**
 * Saves print jobs. Each runs as one task in the background, several at a time; it keeps nothing
 * between jobs, and lives until the last of its jobs has been reported.
 */
class JobPipeline : public std::enable_shared_from_this<JobPipeline> {
public:
    /** Called on the main queue, once for every job whose file is on the disk. */
    using Completion = std::function<void(const CompletedJob&)>;

    JobPipeline(Queues& queues, const Clock& clock, Log& log, Completion completion);

    /**
     * Saves a document in a folder that exists, named after the job and the time. Returns at once;
     * any thread. A failed write is tried once more; when that fails too the job is lost, and only
     * the log says so.
     */
    void process(const std::string& jobName, const Data& pdf,
                 const std::filesystem::path& saveDirectory);

private:
    void run(const std::string& jobName, const Data& pdf,
             const std::filesystem::path& saveDirectory);
    bool save(const Data& pdf, const std::filesystem::path& destination);

    Queues& queues_;
    const Clock& clock_;
    Log& log_;
    const Completion completion_;
};

} // namespace korvane
