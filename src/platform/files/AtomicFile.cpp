#include "platform/files/AtomicFile.h"

#include "platform/files/DescriptorOutput.h"
#include "platform/files/Files.h"
#include "platform/system/UUID.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

namespace korvane {

namespace {

/** Clients that synchronise a folder leave files alone whose names begin like this. */
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

Result<void, SystemError> AtomicFile::publish()
{
    return synchronise(file_.get())
        .and_then([this] { return rename(folder_.get(), temporaryName_, targetName_); })
        .map([this] {
            file_ = FileDescriptor();
            synchroniseFolder(folder_.get());
        });
}

Result<void, SystemError> writeFileAtomically(const std::filesystem::path& target,
                                              std::span<const std::uint8_t> bytes)
{
    return AtomicFile::create(target).and_then([&](AtomicFile&& file) {
        return DescriptorOutput(file.descriptor()).write(bytes).and_then([&] {
            return file.publish();
        });
    });
}

} // namespace korvane
