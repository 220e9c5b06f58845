#pragma once

#include "base/Data.h"
#include "document/JobEnvironment.h"
#include "document/SavingJob.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

namespace korvane {

/**
 * Saves print jobs: recognizes their pages and lays the words over them. Several are worked on at a
 * time, the others wait in their order; it keeps nothing of a job that is done, and lives until the
 * last of its jobs has been reported.
 */
class JobPipeline : public std::enable_shared_from_this<JobPipeline> {
public:
    /** Called on the main queue, once for every job whose file is on the disk. */
    using Completion = SavingJob::Completion;

    JobPipeline(JobEnvironment environment, Completion completion);

    /**
     * Saves a document in a folder that exists, named after the job and the time at which work on
     * it begins. Returns at once; any thread. Where recognition or the searchable PDF fails, the
     * document is saved as it was received; when that write fails too the job is lost, and only the
     * log says so.
     */
    void process(const std::string& jobName, const Data& pdf,
                 const std::filesystem::path& saveDirectory);

private:
    void begin(std::shared_ptr<SavingJob> job);
    void jobEnded() noexcept;

    const JobEnvironment environment_;
    const Completion completion_;

    std::mutex mutex_;
    std::size_t jobs_ = 0;
    /** Those of them that have not been begun. */
    std::deque<std::shared_ptr<SavingJob>> waiting_;
};

} // namespace korvane
