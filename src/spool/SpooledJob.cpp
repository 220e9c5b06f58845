#include "spool/SpooledJob.h"

#include "base/FileWriting.h"
#include "base/Files.h"
#include "spool/SaveFolder.h"
#include "spool/SpoolFolders.h"
#include "spool/UnsavedFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <tuple>
#include <utility>

namespace korvane {

SpooledJob::SpooledJob(std::shared_ptr<const SpoolFolders> folders, std::string id,
                       JobRecord record, Place place)
    : folders_(std::move(folders)), id_(std::move(id)), record_(std::move(record)),
      place_(std::move(place))
{
}

std::filesystem::path SpooledJob::path() const
{
    if (const auto* unsaved = std::get_if<Unsaved>(&place_))
        return folders_->unsaved() / unsaved->name;
    return std::holds_alternative<Publishing>(place_) ? folders_->publishingFile(id_)
                                                      : folders_->jobFile(id_);
}

Result<DocumentFile, SystemError> SpooledJob::open() const
{
    return openRegularFile(path()).map([this](FileDescriptor file) {
        return DocumentFile{.file = share(std::move(file)), .length = record_.length};
    });
}

Result<std::filesystem::path, SystemError> SpooledJob::publish(const DocumentFile& pdf)
{
    return publishWith([&](SaveFolder& folder, const std::string& name) {
        return synchronizeFile(pdf.file->get()).and_then([&] { return folder.add(pdf, name); });
    });
}

Result<std::filesystem::path, SystemError> SpooledJob::publishAsReceived()
{
    return publishWith([&](SaveFolder& folder, const std::string& name) {
        return open().and_then(
            [&](const DocumentFile& document) { return folder.add(document, name); });
    });
}

/**
 * A file gets its temporary name in the folder, then the job is marked, then the file gets its
 * name, then the job goes; each step is on the disk before the next. Whoever finds the mark after
 * an interruption goes on from there.
 */
Result<std::filesystem::path, SystemError> SpooledJob::publishWith(const Add& add)
{
    auto folder = SaveFolder::open(record_.ticket.saveDirectory);
    if (!folder) return failure(folder.error());
    const std::string temporary = temporaryName(id_);
    if (std::holds_alternative<Publishing>(place_)) {
        const auto hasFile = folder->has(temporary);
        if (!hasFile) return failure(hasFile.error());
        if (*hasFile) return finishPublishing(*folder);
        const auto isSaved = folder->has(folder->firstName(record_.ticket.fileName));
        if (!isSaved) return failure(isSaved.error());
        if (*isSaved) {
            remove();
            return folder->pathOf(record_.ticket.fileName);
        }
        // Neither name: another's agent took the file for a stray, or this is not the folder that
        // it was, such as the mount point of a disk that is away.
        if (auto moved = move(Spooled{}); !moved) return failure(moved.error());
    }
    folder->remove(temporary); // of an earlier, interrupted attempt
    return add(*folder, temporary)
        .and_then([&] { return synchronizeFolder(folder->descriptor()); })
        .and_then([&] { return move(Publishing{}); })
        .map_error([&](const SystemError& error) {
            folder->remove(temporary);
            return error;
        })
        .and_then([&] { return finishPublishing(*folder); });
}

Result<std::filesystem::path, SystemError> SpooledJob::finishPublishing(SaveFolder& folder)
{
    const std::string temporary = temporaryName(id_);
    const auto placed =
        folder.openFile(temporary)
            .and_then([&](const FileDescriptor& file) { return cutRecord(file.get()); })
            .and_then([&] { return folder.place(temporary, record_.ticket.fileName); });
    if (!placed) {
        // In this order: a mark without the file would say that the job has been saved.
        if (move(Spooled{})) folder.remove(temporary);
        return failure(placed.error());
    }
    remove();
    return folder.pathOf(*placed);
}

/** Where the file in the folder is the job's own, the record behind the document goes. */
Result<void, SystemError> SpooledJob::cutRecord(int file) const
{
    struct stat published {};
    struct stat job {};
    if (::fstat(file, &published) != 0) return failure(SystemError::last());
    const bool isJobFile = ::stat(path().c_str(), &job) == 0 && published.st_ino == job.st_ino &&
                           published.st_dev == job.st_dev;
    if (!isJobFile) return {};
    return writeRecord(folders_->jobRecord(id_), record_).and_then([&] {
        return truncateToDocument(file, record_.length);
    });
}

/** Renames the job's file. */
Result<void, SystemError> SpooledJob::move(Place place)
{
    const std::filesystem::path former = path();
    std::swap(place_, place);
    if (::rename(former.c_str(), path().c_str()) != 0) {
        const SystemError error = SystemError::last();
        std::swap(place_, place);
        return failure(error);
    }
    std::ignore = folders_->synchronizeSpool();
    return {};
}

void SpooledJob::remove()
{
    // In this order: a record alone means nothing.
    ::unlink(path().c_str());
    removeRecords();
}

void SpooledJob::removeRecords()
{
    if (const auto* unsaved = std::get_if<Unsaved>(&place_))
        ::unlink(folders_->unsavedRecord(unsaved->name).c_str());
    ::unlink(folders_->jobRecord(id_).c_str());
}

Result<std::filesystem::path, SystemError> SpooledJob::setAside()
{
    if (std::holds_alternative<Spooled>(place_)) {
        auto name = unsaved::moveJob(*folders_, path(), record_);
        if (!name) return failure(name.error());
        ::unlink(folders_->jobRecord(id_).c_str());
        place_ = Unsaved{*std::move(name)};
        folders_->synchronizeUnsaved();
    }
    return path();
}

namespace {

/** Of one that was set aside, and that the user may have worked on; its record is still behind it
 *  if an agent was killed meanwhile. */
Result<std::uint64_t, SystemError> documentLength(const std::filesystem::path& path)
{
    return openRegularFile(path).and_then(
        [](const FileDescriptor& file) -> Result<std::uint64_t, SystemError> {
            if (const auto record = readAppendedRecord(file.get())) return record->length;
            struct stat status {};
            if (::fstat(file.get(), &status) != 0) return failure(SystemError::last());
            return static_cast<std::uint64_t>(status.st_size);
        });
}

} // namespace

Result<void, SystemError> SpooledJob::restore()
{
    const auto* unsaved = std::get_if<Unsaved>(&place_);
    if (unsaved == nullptr) return {};
    const auto length = documentLength(path());
    if (!length) {
        if (length.error().code == ENOENT) remove();
        return failure(length.error());
    }
    record_.length = *length;
    const auto unsavedRecord = folders_->unsavedRecord(unsaved->name);
    return writeRecord(folders_->jobRecord(id_), record_)
        .and_then([&] { return move(Spooled{}); })
        .map([&] { ::unlink(unsavedRecord.c_str()); });
}

Result<void, SystemError> SpooledJob::discard()
{
    if (::unlink(path().c_str()) != 0 && errno != ENOENT) return failure(SystemError::last());
    removeRecords();
    return folders_->synchronizeSpool();
}

} // namespace korvane
