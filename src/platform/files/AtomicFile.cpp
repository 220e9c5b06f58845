#include "platform/files/AtomicFile.h"

#include "platform/base/FileDescriptor.h"
#include "platform/files/Files.h"
#include "platform/system/UUID.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <functional>
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

enum class Present { replaced, kept };

/** Gives the file its name. Where a file system cannot rename without replacing, a second name for
 * the file does the same. */
Result<void, SystemError> place(int folder, const std::string& from, const std::string& to,
                                Present present)
{
    const unsigned flags = present == Present::kept ? RENAME_NOREPLACE : 0;
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), flags) == 0) return {};
    if (errno != EINVAL || present == Present::replaced) return failure(SystemError::last());
    if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0) {
        return failure(SystemError::last());
    }
    ::unlinkat(folder, from.c_str(), 0);
    return {};
}

using Filling = std::function<Result<void, SystemError>(int file)>;

Result<void, SystemError> makeFile(const std::filesystem::path& target, Present present,
                                   const Filling& fill)
{
    if (!canNameFile(target)) return failure(SystemError{EINVAL});
    const FileDescriptor folder = openFolder(target);
    if (!folder) return failure(SystemError::last());
    const std::string name = temporaryName();
    const FileDescriptor file(
        ::openat(folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return failure(SystemError::last());

    Result<void, SystemError> result = fill(file.get());
    if (result) result = synchronise(file.get());
    if (result) result = place(folder.get(), name, target.filename(), present);
    if (result) {
        synchroniseFolder(folder.get());
    } else {
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
    return result;
}

/** One step of copying: how many bytes it took, 0 at the end. */
ssize_t copyStep(int source, int file)
{
    constexpr std::size_t copySize = std::size_t{64} << 20;
    const ssize_t copied = ::copy_file_range(source, nullptr, file, nullptr, copySize, 0);
    if (copied > 0 || (copied < 0 && errno == EINTR)) return copied;
    // Not every two file systems can do it between them, and some only say that there is nothing.
    return ::sendfile(file, source, nullptr, copySize);
}

Result<void, SystemError> copyAll(int source, int file)
{
    for (;;) {
        const ssize_t copied = copyStep(source, file);
        if (copied == 0) return {};
        if (copied < 0 && errno != EINTR) return failure(SystemError::last());
    }
}

} // namespace

Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes)
{
    return makeFile(target, Present::replaced, [&](int file) { return writeAll(file, bytes); });
}

Result<void, SystemError> writeNewFileAtomically(const std::filesystem::path& target,
                                                 std::span<const std::uint8_t> bytes)
{
    return makeFile(target, Present::kept, [&](int file) { return writeAll(file, bytes); });
}

Result<void, SystemError> copyToNewFileAtomically(const std::filesystem::path& source,
                                                  const std::filesystem::path& target)
{
    return openRegularFile(source).and_then([&](const FileDescriptor& opened) {
        return makeFile(target, Present::kept,
                        [&](int file) { return copyAll(opened.get(), file); });
    });
}

} // namespace korvane
