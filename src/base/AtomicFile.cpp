#include "base/AtomicFile.h"

#include "base/DescriptorOutput.h"
#include "base/Files.h"
#include "base/UUID.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** Clients that synchronize a folder leave files alone whose names begin like this. */
std::string makeTemporaryName()
{
    return ".~" + makeRandomUUID();
}

FileDescriptor openFolder(const std::filesystem::path& target)
{
    const std::filesystem::path folder = target.parent_path();
    return FileDescriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Result<void, SystemError> synchronize(int file)
{
    while (::fsync(file) != 0) {
        // Some network and user-space file systems cannot promise anything; the file is there.
        if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) break;
        if (errno != EINTR) return failure(SystemError::last());
    }
    return {};
}

/** The new name is in place already; what fails here can only lose it in a power cut. */
void synchronizeFolder(int folder)
{
    const FileDescriptor readable(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (readable) ::fsync(readable.get());
}

/** Gives the file its name. Where a file system cannot rename without replacing, a second name for
 * the file does the same. */
Result<void, SystemError> place(int folder, const std::string& from, const std::string& to,
                                AtomicFile::Present present)
{
    const unsigned flags = present == AtomicFile::Present::kept ? RENAME_NOREPLACE : 0;
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), flags) == 0) return {};
    if (errno != EINVAL || present == AtomicFile::Present::replaced)
        return failure(SystemError::last());
    if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) != 0) {
        return failure(SystemError::last());
    }
    ::unlinkat(folder, from.c_str(), 0);
    return {};
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

Result<void, SystemError> writeAtomically(const std::filesystem::path& target,
                                          std::span<const std::uint8_t> bytes,
                                          AtomicFile::Present present)
{
    return AtomicFile::create(target).and_then([&](AtomicFile&& file) {
        return DescriptorOutput(file.descriptor()).write(bytes).and_then([&] {
            return file.publish(present);
        });
    });
}

} // namespace

Result<AtomicFile, SystemError> AtomicFile::create(const std::filesystem::path& target)
{
    if (!canNameFile(target)) return failure(SystemError{EINVAL});
    FileDescriptor folder = openFolder(target);
    if (!folder) return failure(SystemError::last());
    std::string name = makeTemporaryName();
    FileDescriptor file(
        ::openat(folder.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return failure(SystemError::last());
    return AtomicFile(std::move(folder), std::move(file), std::move(name), target.filename());
}

AtomicFile::AtomicFile(FileDescriptor folder, FileDescriptor file, std::string temporaryName,
                       std::string targetName)
    : folder_(std::move(folder)), file_(std::move(file)), temporaryName_(std::move(temporaryName)),
      targetName_(std::move(targetName))
{
}

AtomicFile::~AtomicFile()
{
    if (file_) ::unlinkat(folder_.get(), temporaryName_.c_str(), 0);
}

Result<void, SystemError> AtomicFile::publish(Present present)
{
    return synchronize(file_.get())
        .and_then(
            [this, present] { return place(folder_.get(), temporaryName_, targetName_, present); })
        .map([this] {
            file_ = FileDescriptor();
            synchronizeFolder(folder_.get());
        });
}

Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes)
{
    return writeAtomically(target, bytes, AtomicFile::Present::replaced);
}

Result<void, SystemError> writeNewFileAtomically(const std::filesystem::path& target,
                                                 std::span<const std::uint8_t> bytes)
{
    return writeAtomically(target, bytes, AtomicFile::Present::kept);
}

Result<void, SystemError> copyToNewFileAtomically(const std::filesystem::path& source,
                                                  const std::filesystem::path& target)
{
    return openRegularFile(source).and_then([&](const FileDescriptor& opened) {
        return AtomicFile::create(target).and_then([&](AtomicFile&& file) {
            return copyAll(opened.get(), file.descriptor()).and_then([&] {
                return file.publish(AtomicFile::Present::kept);
            });
        });
    });
}

} // namespace korvane
