#pragma once

#include "document/UnsavedJob.h"
#include "event/Queue.h"
#include "spool/SpooledJob.h"

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>

namespace korvane {

/**
 * The jobs that are set aside, and when each is tried again: one of a folder first, the others once
 * it has been saved. A folder with an outage is one of whose jobs the user was told that they are
 * not saved; a job that is saved there ends it.
 *
 * Used on the main queue, which outlives it.
 */
class UnsavedJobs {
public:
    using Process = std::function<void(std::shared_ptr<SpooledJob>)>;

    /** `process` takes the jobs that are to be tried again. */
    UnsavedJobs(const SerialQueue& main, Process process)
        : main_(main), process_(std::move(process))
    {
    }

    /** Keeps a job. Whether the user is to be told. */
    bool add(const UnsavedJob& unsaved);

    /** Keeps a job that an earlier agent had set aside. */
    void add(std::shared_ptr<SpooledJob> job);

    /** A job was saved in this folder: others may be, too. */
    void jobSaved(const std::filesystem::path& folder);

    /** Tries one job of every folder now. */
    void tryAgain();

private:
    struct Folder {
        std::deque<std::shared_ptr<SpooledJob>> jobs;
        bool hasOutage = false;
        /** Not before; a document that does not fit is not tried for each one that does. */
        std::chrono::steady_clock::time_point nextTry;
    };

    void process(Folder& folder, std::size_t count);

    const SerialQueue& main_;
    const Process process_;
    std::map<std::filesystem::path, Folder> folders_;
};

} // namespace korvane
