#pragma once

#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "spool/JobRecord.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>

namespace korvane {

/**
 * The folders of a spool and how files are named there. A job is ID.job, its document and a record
 * behind it; where there is ID.record as well, that holds. While its file lies in the save folder
 * under a temporary name, about to get its own, the job is ID.publishing. In `unsaved/` a document
 * has a name for the user, and its record that name with a dot before it.
 */
class SpoolFolders {
public:
    /** Makes them, and locks the spool for this process, whose id is then in agent.pid of the state
     *  folder. The kernel drops the lock with the process, however that ends. */
    explicit SpoolFolders(const std::filesystem::path& stateFolder);

    /** Whether the spool is ours, and can be written; EBUSY while another process has it. */
    Result<void, SystemError> check() const;

    /** While another process has the spool: which one, if it could say so. */
    std::optional<pid_t> owner() const { return owner_; }

    const std::filesystem::path& spool() const { return spool_; }
    const std::filesystem::path& unsaved() const { return unsaved_; }

    std::filesystem::path jobFile(const std::string& id) const { return spool_ / (id + ".job"); }
    std::filesystem::path publishingFile(const std::string& id) const
    {
        return spool_ / (id + ".publishing");
    }
    std::filesystem::path jobRecord(const std::string& id) const
    {
        return spool_ / (id + ".record");
    }
    std::filesystem::path unsavedRecord(const std::string& name) const
    {
        return unsaved_ / ("." + name + ".record");
    }

    /** Has the disk take the names of jobs. */
    Result<void, SystemError> synchronizeSpool() const;
    void synchronizeUnsaved() const;

private:
    std::filesystem::path spool_;
    std::filesystem::path unsaved_;
    FileDescriptor lock_;
    std::optional<SystemError> error_;
    std::optional<pid_t> owner_;
};

/** A record in a file of its own; ENOENT when there is no file, ENODATA when it is no record. */
Result<JobRecord, SystemError> readRecord(const std::filesystem::path& file);

/** Writes it whole and synced, and replaces what is there. */
Result<void, SystemError> writeRecord(const std::filesystem::path& file, const JobRecord& record);

/** The same, but EEXIST when something is there. */
Result<void, SystemError> writeNewRecord(const std::filesystem::path& file,
                                         const JobRecord& record);

/** Cuts what is behind the document away. */
Result<void, SystemError> truncateToDocument(int file, std::uint64_t length);

} // namespace korvane
