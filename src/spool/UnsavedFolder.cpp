#include "spool/UnsavedFolder.h"

#include "base/FileWriting.h"
#include "base/Files.h"
#include "spool/SaveFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>

namespace korvane::unsaved {

namespace {

constexpr std::string_view recordEnding = ".record";

/** Renames a job's file, which then is just the document. */
Result<void, SystemError> moveTo(const std::filesystem::path& target,
                                 const std::filesystem::path& jobFile, std::uint64_t length)
{
    const FileDescriptor file(::open(jobFile.c_str(), O_RDWR | O_CLOEXEC));
    if (!file) return failure(SystemError::last());
    return renameToNew(AT_FDCWD, jobFile, target).map([&] {
        // Where this fails, the record stays behind the document, and tells how long that is.
        std::ignore = truncateToDocument(file.get(), length);
    });
}

/** What a document's name can have there, so that its record's still fits. */
Result<std::size_t, SystemError> maxDocumentName(const SpoolFolders& folders)
{
    return SaveFolder::open(folders.unsaved()).map([&](const SaveFolder& folder) {
        return maxNameLength(folder.descriptor()) -
               folders.unsavedRecord("").filename().native().size();
    });
}

struct KeptDocument {
    std::filesystem::path path;
    timespec modified{};
    std::uint64_t size = 0;
};

/** The documents that are no jobs, the newest first. */
std::vector<KeptDocument> documents(const SpoolFolders& folders)
{
    std::vector<KeptDocument> found;
    for (const std::string& name : entryNames(folders.unsaved())) {
        const auto path = folders.unsaved() / name;
        struct stat status {};
        if (name.starts_with('.') || fileExists(folders.unsavedRecord(name)) ||
            ::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        found.push_back({.path = path,
                         .modified = status.st_mtim,
                         .size = static_cast<std::uint64_t>(status.st_size)});
    }
    std::ranges::sort(found, std::ranges::greater(), [](const KeptDocument& document) {
        return std::pair(document.modified.tv_sec, document.modified.tv_nsec);
    });
    return found;
}

/** The kernel's own stamps are the same for what is written within milliseconds. */
void stampNow(int file)
{
    std::array<timespec, 2> times{};
    ::clock_gettime(CLOCK_REALTIME, times.data());
    times[1] = times[0];
    ::futimens(file, times.data());
}

void removeOldest(const SpoolFolders& folders, std::size_t maxDocuments, std::uint64_t maxBytes)
{
    std::size_t count = 0;
    std::uint64_t bytes = 0;
    for (const KeptDocument& document : documents(folders)) {
        bytes += document.size;
        const bool isNewest = count++ == 0; // which the user is about to be told of
        if (!isNewest && (count > maxDocuments || bytes > maxBytes))
            ::unlink(document.path.c_str());
    }
}

} // namespace

Result<std::string, SystemError>
moveJob(const SpoolFolders& folders, const std::filesystem::path& jobFile, const JobRecord& record)
{
    const auto maxName = maxDocumentName(folders);
    if (!maxName) return failure(maxName.error());
    for (int attempt = 1; attempt <= maxNameAttempts; ++attempt) {
        std::string name = numberedName(record.ticket.fileName, attempt, *maxName);
        const auto recordFile = folders.unsavedRecord(name);
        if (fileExists(folders.unsaved() / name)) continue;
        // A record without its document means nothing, a document without its record is no job.
        const auto written = writeNewRecord(recordFile, record);
        if (!written && written.error().code == EEXIST) continue;
        if (!written) return failure(written.error());
        const auto moved = moveTo(folders.unsaved() / name, jobFile, record.length);
        if (moved) return name;
        ::unlink(recordFile.c_str());
        if (moved.error().code != EEXIST) return failure(moved.error());
    }
    return failure(SystemError{EEXIST});
}

std::vector<std::pair<std::string, JobRecord>> jobs(const SpoolFolders& folders)
{
    std::vector<std::pair<std::string, JobRecord>> found;
    for (const std::string& name : entryNames(folders.unsaved())) {
        if (!name.starts_with('.') || !name.ends_with(recordEnding)) continue;
        std::string document = name.substr(1, name.size() - 1 - recordEnding.size());
        auto record = readRecord(folders.unsaved() / name);
        const bool isGone = !fileExists(folders.unsaved() / document);
        if (record && !isGone) {
            found.emplace_back(std::move(document), *std::move(record));
        } else if (isGone || record.error().code == ENODATA) {
            ::unlink((folders.unsaved() / name).c_str());
        }
    }
    return found;
}

Result<std::filesystem::path, SystemError>
keepDocument(const SpoolFolders& folders, const std::string& name, const DocumentFile& document,
             std::size_t maxDocuments, std::uint64_t maxBytes)
{
    auto folder = SaveFolder::open(folders.unsaved());
    if (!folder) return failure(folder.error());
    stampNow(document.file->get());
    const std::string temporary = makeTemporaryName();
    const auto added = synchronizeFile(document.file->get()).and_then([&] {
        return folder->add(document, temporary);
    });
    if (!added) return failure(added.error());
    const auto placed = folder->place(temporary, name);
    if (!placed) {
        folder->remove(temporary);
        return failure(placed.error());
    }
    removeOldest(folders, maxDocuments, maxBytes);
    return folder->pathOf(*placed);
}

} // namespace korvane::unsaved
