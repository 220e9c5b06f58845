#pragma once

#include "document/JobEnvironment.h"
#include "document/SavingJob.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>

namespace korvane {

/**
 * Saves accepted jobs: recognizes their pages and lays the words over them. Of each save folder's
 * jobs, several are worked on at a time, the others wait in their order; it keeps nothing of a job
 * that is done, and lives until the last of its jobs is.
 */
class JobPipeline : public std::enable_shared_from_this<JobPipeline> {
public:
    JobPipeline(JobEnvironment environment, JobHandlers handlers);

    /**
     * Saves a job as its ticket says, also one that was set aside. Returns at once; any thread.
     * Where recognition or the searchable PDF fails, the document is saved as it was received;
     * where there is no save folder, or that write fails too, the job is set aside.
     *
     * `printJob` is told how the job gets on. Canceling it stops the work, and removes the job.
     */
    void process(std::shared_ptr<SpooledJob> job, std::shared_ptr<PrintJob> printJob);

private:
    /** The jobs of one save folder. A folder that does not answer keeps no other folder's. */
    struct Folder {
        std::size_t begun = 0;
        std::deque<std::shared_ptr<SavingJob>> waiting;
    };

    bool admit(const std::filesystem::path& folder, const std::shared_ptr<SavingJob>& job);
    void stopWaiting(const std::filesystem::path& folder, const std::shared_ptr<SavingJob>& job);
    void jobEnded(const std::filesystem::path& folder) noexcept;

    const JobEnvironment environment_;
    const JobHandlers handlers_;

    std::mutex mutex_;
    std::map<std::filesystem::path, Folder> folders_;
};

} // namespace korvane
