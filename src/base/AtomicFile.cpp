#include "base/AtomicFile.h"

#include "base/DescriptorOutput.h"
#include "base/FileWriting.h"
#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

FileDescriptor openFolder(const std::filesystem::path& target)
{
    const std::filesystem::path folder = target.parent_path();
    return FileDescriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

std::uint64_t sizeOf(int file)
{
    struct stat status {};
    return ::fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

Result<void, SystemError> publishWith(AtomicFile& file, std::span<const std::uint8_t> bytes,
                                      AtomicFile::Present present)
{
    return DescriptorOutput(file.descriptor()).write(bytes).and_then([&] {
        return file.publish(present);
    });
}

Result<void, SystemError> writeAtomically(const std::filesystem::path& target,
                                          std::span<const std::uint8_t> bytes,
                                          AtomicFile::Present present)
{
    return AtomicFile::create(target).and_then(
        [&](AtomicFile&& file) { return publishWith(file, bytes, present); });
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
    lockTemporary(file.get());
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
    return synchronizeFile(file_.get())
        .and_then([this, present] {
            return present == Present::kept
                       ? renameToNew(folder_.get(), temporaryName_, targetName_)
                       : renameInFolder(folder_.get(), temporaryName_, targetName_);
        })
        .map([this] {
            file_ = FileDescriptor();
            std::ignore = synchronizeFolder(folder_.get());
        });
}

Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes)
{
    return writeAtomically(target, bytes, AtomicFile::Present::replaced);
}

Result<void, SystemError> writePrivateFileAtomically(const std::filesystem::path& target,
                                                     std::span<const std::uint8_t> bytes)
{
    return AtomicFile::create(target).and_then([&](AtomicFile&& file) -> Result<void, SystemError> {
        if (::fchmod(file.descriptor(), S_IRUSR | S_IWUSR) != 0)
            return failure(SystemError::last());
        return publishWith(file, bytes, AtomicFile::Present::replaced);
    });
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
            return copyBytes(opened.get(), sizeOf(opened.get()), file.descriptor()).and_then([&] {
                return file.publish(AtomicFile::Present::kept);
            });
        });
    });
}

} // namespace korvane
