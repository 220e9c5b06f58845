#include "base/FileWriting.h"

#include "base/FileDescriptor.h"
#include "base/Files.h"
#include "base/UUID.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace korvane {

namespace {

constexpr std::string_view temporaryPrefix = ".~korvane-";
constexpr std::size_t uuidLength = 36;

/** One step of copying: how many bytes it took, 0 at the end. */
ssize_t copyStep(int source, off_t& position, std::size_t count, int target)
{
    const ssize_t copied = ::copy_file_range(source, &position, target, nullptr, count, 0);
    if (copied > 0 || (copied < 0 && errno == EINTR)) return copied;
    // Not every two file systems can do it between them, and some only say that there is nothing.
    return ::sendfile(target, source, &position, count);
}

} // namespace

Result<void, SystemError> synchronizeFile(int file)
{
    while (::fsync(file) != 0) {
        // Some network and user-space file systems cannot promise anything.
        if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) break;
        if (errno != EINTR) return failure(SystemError::last());
    }
    return {};
}

Result<void, SystemError> synchronizeFolder(int folder)
{
    const FileDescriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable) return synchronizeFile(readable.get());
    if (errno == EACCES) return {};
    return failure(SystemError::last());
}

Result<void, SystemError> copyBytes(int source, std::uint64_t length, int target)
{
    constexpr std::uint64_t step = std::uint64_t{64} << 20;
    off_t position = 0;
    while (static_cast<std::uint64_t>(position) < length) {
        const std::uint64_t left = length - static_cast<std::uint64_t>(position);
        const ssize_t copied = copyStep(source, position, std::min(left, step), target);
        if (copied == 0) return failure(SystemError{EIO});
        if (copied < 0 && errno != EINTR) return failure(SystemError::last());
    }
    return {};
}

Result<void, SystemError> renameInFolder(int folder, const std::string& from, const std::string& to)
{
    if (::renameat(folder, from.c_str(), folder, to.c_str()) == 0) return {};
    return failure(SystemError::last());
}

Result<void, SystemError> renameToNew(int folder, const std::string& from, const std::string& to)
{
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) return {};
    if (errno != EINVAL) return failure(SystemError::last());
    // Where a file system cannot rename without replacing, a second name does the same.
    if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0)
        return failure(SystemError::last());
    ::unlinkat(folder, from.c_str(), 0);
    return {};
}

std::string makeTemporaryName()
{
    return temporaryName(makeRandomUUID());
}

std::string temporaryName(std::string_view uuid)
{
    return std::string(temporaryPrefix).append(uuid);
}

bool isTemporaryName(std::string_view name)
{
    return name.starts_with(temporaryPrefix) && name.size() == temporaryPrefix.size() + uuidLength;
}

void lockTemporary(int file)
{
    ::flock(file, LOCK_EX | LOCK_NB);
}

void removeAbandonedFiles(const std::filesystem::path& folder, const std::set<std::string>& needed)
{
    for (const std::string& name : entryNames(folder)) {
        if (!isTemporaryName(name) || needed.contains(name)) continue;
        const auto path = folder / name;
        const FileDescriptor file(
            ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlink(path.c_str());
    }
}

} // namespace korvane
