#pragma once

#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "spool/JobTicket.h"
#include "spool/SpooledJob.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvane {

/**
 * Where documents are while they arrive, and jobs from the moment in which they are accepted until
 * they are saved: files in `spool/` of the state folder. A job that is there is finished by
 * whatever agent finds it, after any end of the one that accepted it.
 *
 * What cannot be saved for now, or is no document, is kept in `unsaved/` beside it, under a name
 * that the user can tell.
 *
 * All calls may be made on any thread, and wait for the disk.
 */
class Spool {
public:
    struct Limits {
        /** Bytes that must stay free on the spool's file system. */
        std::uint64_t reserve = std::uint64_t{256} << 20;
        /** How many refused documents are kept, the newest ones, and how many bytes of them. */
        std::size_t refusedDocuments = 100;
        std::uint64_t refusedBytes = std::uint64_t{1} << 30;
    };

    /** How many bytes the user can still write to the file system of a folder. */
    using FreeSpace = std::function<std::uint64_t(const std::filesystem::path& folder)>;

    /** Makes the folders for the user's eyes only. One agent uses a spool at a time: while another
     *  does, every call fails with EBUSY. */
    explicit Spool(const std::filesystem::path& stateFolder);
    Spool(const std::filesystem::path& stateFolder, Limits limits, FreeSpace freeSpace);
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;
    ~Spool();

    /** Whether this agent has the spool and can write there, or why not. */
    Result<void, SystemError> check() const;

    /** While another agent has the spool: its process, if that is known. */
    std::optional<pid_t> owner() const;

    /** How many bytes more can be written and leave the reserve free. */
    std::uint64_t room() const;

    /** Whether so many bytes can. */
    bool hasRoom(std::uint64_t bytes) const;

    /** A new file without a name, to be written and read; it is gone when it is closed. */
    Result<FileDescriptor, SystemError> makeFile() const;

    /** The same for a worker to write. A job that is made of it gets a copy: no worker can change
     *  that, or what the spool writes down of the job behind it. */
    Result<FileDescriptor, SystemError> makeWorkerFile() const;

    /**
     * Takes a document from `makeFile` in: when this returns it is on the disk under a name, with
     * its ticket, and will be found after a power cut. The file must not be written any more.
     */
    Result<std::shared_ptr<SpooledJob>, SystemError> accept(const JobTicket& ticket,
                                                            const DocumentFile& document);

    /** The jobs that an earlier agent left here, in the order in which they were accepted, those in
     *  `unsaved/` included; what belongs to no job is removed. Called once, before `accept`. */
    std::vector<std::shared_ptr<SpooledJob>> recover();

    /** Removes what an agent that was killed has left half-written in a save folder. What some
     *  running process still writes stays, and so does what a job of `recover` needs. */
    void removeStrays(const std::filesystem::path& saveDirectory) const;

    /** Keeps the bytes of a document that was refused in `unsaved/`, under a name that a file can
     *  have, and says where. */
    Result<std::filesystem::path, SystemError> keepRefused(const std::string& name,
                                                           const DocumentFile& document);

    /** The folder of what could not be saved. */
    const std::filesystem::path& unsavedFolder() const;

private:
    Result<FileDescriptor, SystemError> makeFile(int flags) const;
    void recoverSpooled(std::vector<std::shared_ptr<SpooledJob>>& jobs);

    const std::shared_ptr<const SpoolFolders> folders_;
    const Limits limits_;
    const FreeSpace freeSpace_;
    /** Names of files in save folders that jobs are to get. Not changed after `recover`. */
    std::set<std::string> neededFiles_;
};

} // namespace korvane
