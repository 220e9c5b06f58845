#include "platform/files/AtomicFile.h"

#include "platform/base/FileDescriptor.h"
#include "platform/files/Files.h"
#include "platform/system/UUID.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string>

namespace korvane {

namespace {

/** After so many bytes the disk is set to work on them while we go on copying. */
constexpr std::size_t writebackStep = std::size_t{8} * 1024 * 1024;

/** The most that one write takes. Larger ones fill the page cache with larger pages, which then
 * wait for each other's writeback: bench/run large shows it. */
constexpr std::size_t writeSize = std::size_t{256} * 1024;

/** Clients that synchronise a folder leave files alone whose names begin like this. */
std::string temporaryName()
{
    return ".~" + makeRandomUUID();
}

FileDescriptor openFolder(const std::filesystem::path& target)
{
    const std::filesystem::path folder = target.parent_path();
    return FileDescriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Result<void, SystemError> writeStep(int file, std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), std::min(bytes.size(), writeSize));
        if (written >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return failure(SystemError::last());
        }
    }
    return {};
}

Result<void, SystemError> writeAll(int file, std::span<const std::uint8_t> bytes)
{
    for (std::size_t offset = 0; offset < bytes.size(); offset += writebackStep) {
        const std::size_t count = std::min(writebackStep, bytes.size() - offset);
        Result<void, SystemError> written = writeStep(file, bytes.subspan(offset, count));
        if (!written) return written;
        if (count < writebackStep) break;
        // Only a hint: an error of the disk shows when the file is synchronised.
        ::sync_file_range(file, static_cast<off64_t>(offset), static_cast<off64_t>(count),
                          SYNC_FILE_RANGE_WRITE);
    }
    return {};
}

Result<void, SystemError> synchronise(int file)
{
    while (::fsync(file) != 0) {
        // Some network and user-space file systems cannot promise anything; the file is there.
        if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) break;
        if (errno != EINTR) return failure(SystemError::last());
    }
    return {};
}

/** The new name is in place already; what fails here can only lose it in a power cut. */
void synchroniseFolder(int folder)
{
    const FileDescriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable) ::fsync(readable.get());
}

Result<void, SystemError> rename(int folder, const std::string& from, const std::string& to)
{
    if (::renameat(folder, from.c_str(), folder, to.c_str()) != 0) {
        return failure(SystemError::last());
    }
    return {};
}

} // namespace

Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes)
{
    if (!canNameFile(target)) return failure(SystemError{EINVAL});
    const FileDescriptor folder = openFolder(target);
    if (!folder) return failure(SystemError::last());
    const std::string name = temporaryName();
    const FileDescriptor file(
        ::openat(folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return failure(SystemError::last());

    Result<void, SystemError> result = writeAll(file.get(), bytes);
    if (result) result = synchronise(file.get());
    if (result) result = rename(folder.get(), name, target.filename());
    if (result) {
        synchroniseFolder(folder.get());
    } else {
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
    return result;
}

} // namespace korvane
