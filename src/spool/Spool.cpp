#include "spool/Spool.h"

#include "base/FileWriting.h"
#include "base/Files.h"
#include "base/UUID.h"
#include "spool/SaveFolder.h"
#include "spool/SpoolFolders.h"
#include "spool/UnsavedFolder.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace korvane {

namespace {

std::uint64_t diskSpace(const std::filesystem::path& folder)
{
    struct statvfs status {};
    if (::statvfs(folder.c_str(), &status) != 0) return UINT64_MAX; // writing will say why
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

/** A file with a name until it is open, for file systems that know none without. */
Result<FileDescriptor, SystemError> makeUnlinkedFile(const std::filesystem::path& folder)
{
    const auto path = folder / makeTemporaryName();
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return failure(SystemError::last());
    ::unlink(path.c_str());
    return file;
}

Result<void, SystemError> nameFile(const DocumentFile& document, const JobRecord& record,
                                   const std::filesystem::path& name)
{
    auto folder = SaveFolder::open(name.parent_path());
    if (!folder) return failure(folder.error());
    const int file = document.file->get();
    const auto linked =
        appendRecord(file, record).and_then([&] { return folder->link(file, name.filename()); });
    if (linked) return synchronizeFile(file);
    // A worker's file cannot get a name, one that was unlinked not any more.
    if (linked.error().code != ENOENT) return linked;
    const std::string temporary = makeTemporaryName();
    return folder->copy(document, temporary)
        .and_then([&] { return folder->openFile(temporary); })
        .and_then([&](const FileDescriptor& copy) {
            return appendRecord(copy.get(), record).and_then([&] {
                return synchronizeFile(copy.get());
            });
        })
        .and_then([&] { return renameToNew(folder->descriptor(), temporary, name.filename()); })
        .map_error([&](const SystemError& error) {
            folder->remove(temporary);
            return error;
        });
}

/** ENODATA when the job has none. */
Result<JobRecord, SystemError> findRecord(const SpoolFolders& folders, const std::string& id,
                                          const std::filesystem::path& file)
{
    auto record = readRecord(folders.jobRecord(id));
    if (record || (record.error().code != ENOENT && record.error().code != ENODATA)) return record;
    return openRegularFile(file).and_then(
        [](const FileDescriptor& opened) { return readAppendedRecord(opened.get()); });
}

} // namespace

Spool::Spool(const std::filesystem::path& stateFolder) : Spool(stateFolder, {}, diskSpace) {}

Spool::Spool(const std::filesystem::path& stateFolder, Limits limits, FreeSpace freeSpace)
    : folders_(std::make_shared<SpoolFolders>(stateFolder)), limits_(limits),
      freeSpace_(std::move(freeSpace))
{
}

Spool::~Spool() = default;

Result<void, SystemError> Spool::check() const
{
    return folders_->check();
}

std::optional<pid_t> Spool::owner() const
{
    return folders_->owner();
}

std::uint64_t Spool::room() const
{
    const std::uint64_t free = freeSpace_(folders_->spool());
    return free - std::min(free, limits_.reserve);
}

bool Spool::hasRoom(std::uint64_t bytes) const
{
    const std::uint64_t free = freeSpace_(folders_->spool());
    return free >= limits_.reserve && free - limits_.reserve >= bytes;
}

Result<FileDescriptor, SystemError> Spool::makeFile() const
{
    return makeFile(0);
}

Result<FileDescriptor, SystemError> Spool::makeWorkerFile() const
{
    return makeFile(O_EXCL); // It cannot be given a name.
}

Result<FileDescriptor, SystemError> Spool::makeFile(int flags) const
{
    if (auto ours = folders_->check(); !ours) return failure(ours.error());
    FileDescriptor file(
        ::open(folders_->spool().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC | flags, 0666));
    if (file) return file;
    if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)
        return makeUnlinkedFile(folders_->spool());
    return failure(SystemError::last());
}

Result<std::shared_ptr<SpooledJob>, SystemError> Spool::accept(const JobTicket& ticket,
                                                               const DocumentFile& document)
{
    if (auto ours = folders_->check(); !ours) return failure(ours.error());
    const std::string id = makeRandomUUID();
    const JobRecord record{.ticket = ticket, .length = document.length};
    const auto name = folders_->jobFile(id);
    return nameFile(document, record, name)
        .and_then([&] { return folders_->synchronizeSpool(); })
        .map([&] {
            return std::make_shared<SpooledJob>(folders_, id, record, SpooledJob::Spooled{});
        })
        .map_error([&](const SystemError& error) {
            ::unlink(name.c_str());
            return error;
        });
}

std::vector<std::shared_ptr<SpooledJob>> Spool::recover()
{
    std::vector<std::shared_ptr<SpooledJob>> jobs;
    if (!folders_->check()) return jobs;
    removeAbandonedFiles(folders_->spool());
    removeAbandonedFiles(folders_->unsaved());
    recoverSpooled(jobs);
    for (auto& [name, record] : unsaved::jobs(*folders_)) {
        jobs.push_back(std::make_shared<SpooledJob>(folders_, makeRandomUUID(), std::move(record),
                                                    SpooledJob::Unsaved{std::move(name)}));
    }
    std::ranges::stable_sort(jobs, {}, [](const auto& job) { return job->ticket().accepted; });
    return jobs;
}

void Spool::recoverSpooled(std::vector<std::shared_ptr<SpooledJob>>& jobs)
{
    for (const std::string& name : entryNames(folders_->spool())) {
        const auto file = folders_->spool() / name;
        const std::string id = file.stem();
        const bool isPublishing = file.extension() == ".publishing";
        if (!isPublishing && file.extension() != ".job") continue;
        if (auto record = findRecord(*folders_, id, file)) {
            if (isPublishing) neededFiles_.insert(temporaryName(id));
            jobs.push_back(std::make_shared<SpooledJob>(
                folders_, id, *std::move(record),
                isPublishing ? SpooledJob::Place(SpooledJob::Publishing{})
                             : SpooledJob::Place(SpooledJob::Spooled{})));
        } else if (record.error().code == ENODATA) { // its client was not answered
            ::unlink(file.c_str());
        }
    }
    for (const std::string& name : entryNames(folders_->spool())) {
        const auto file = folders_->spool() / name;
        const std::string id = file.stem();
        if (file.extension() == ".record" && !fileExists(folders_->jobFile(id)) &&
            !fileExists(folders_->publishingFile(id)))
            ::unlink(file.c_str());
    }
}

void Spool::removeStrays(const std::filesystem::path& saveDirectory) const
{
    removeAbandonedFiles(saveDirectory, neededFiles_);
}

Result<std::filesystem::path, SystemError> Spool::keepRefused(const std::string& name,
                                                              const DocumentFile& document)
{
    if (auto ours = folders_->check(); !ours) return failure(ours.error());
    return unsaved::keepDocument(*folders_, name, document, limits_.refusedDocuments,
                                 limits_.refusedBytes);
}

const std::filesystem::path& Spool::unsavedFolder() const
{
    return folders_->unsaved();
}

} // namespace korvane
