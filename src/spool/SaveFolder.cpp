#include "spool/SaveFolder.h"

#include "base/FileWriting.h"
#include "base/Files.h"
#include "text/FileName.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

/** Makes a second name for an open file, which may have had none. */
Result<void, SystemError> linkFile(int file, int folder, const std::string& name)
{
    // AT_EMPTY_PATH would take a privilege.
    const std::string source = fmt::format("/proc/self/fd/{}", file);
    if (::linkat(AT_FDCWD, source.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return {};
    return failure(SystemError::last());
}

} // namespace

std::size_t maxNameLength(int folder)
{
    // O_PATH descriptors serve pathconf(3) since Linux 2.6.39.
    const long length = ::fpathconf(folder, _PC_NAME_MAX);
    return length > 0 ? static_cast<std::size_t>(length) : NAME_MAX;
}

std::string numberedName(const std::string& fileName, int attempt, std::size_t limit)
{
    const std::filesystem::path path(fileName);
    const std::string number = attempt > 1 ? fmt::format(" {}", attempt) : "";
    return text::fittingFileName(path.stem().native(), number + path.extension().native(), limit);
}

Result<SaveFolder, SystemError> SaveFolder::open(const std::filesystem::path& path)
{
    if (!canNameFile(path)) return failure(SystemError{EINVAL});
    FileDescriptor folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return failure(SystemError::last());
    return SaveFolder(path, std::move(folder));
}

Result<void, SystemError> SaveFolder::link(int file, const std::string& name)
{
    lockTemporary(file);
    return linkFile(file, folder_.get(), name);
}

Result<void, SystemError> SaveFolder::copy(const DocumentFile& document, const std::string& name)
{
    const FileDescriptor file(
        ::openat(folder_.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return failure(SystemError::last());
    lockTemporary(file.get());
    auto copied = copyBytes(document.file->get(), document.length, file.get()).and_then([&] {
        return synchronizeFile(file.get());
    });
    if (!copied) remove(name);
    return copied;
}

Result<void, SystemError> SaveFolder::add(const DocumentFile& document, const std::string& name)
{
    return link(document.file->get(), name)
        .or_else(
            [&](const SystemError&) -> Result<void, SystemError> { return copy(document, name); });
}

Result<bool, SystemError> SaveFolder::has(const std::string& name) const
{
    struct stat status {};
    if (::fstatat(folder_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return true;
    if (errno == ENOENT) return false;
    return failure(SystemError::last());
}

std::string SaveFolder::firstName(const std::string& fileName) const
{
    return numberedName(fileName, 1, maxNameLength(folder_.get()));
}

Result<FileDescriptor, SystemError> SaveFolder::openFile(const std::string& name) const
{
    FileDescriptor file(::openat(folder_.get(), name.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!file) return failure(SystemError::last());
    return file;
}

Result<std::string, SystemError> SaveFolder::place(const std::string& temporaryName,
                                                   const std::string& fileName)
{
    const std::size_t limit = maxNameLength(folder_.get());
    for (int attempt = 1; attempt <= maxNameAttempts; ++attempt) {
        std::string name = numberedName(fileName, attempt, limit);
        const auto placed = renameToNew(folder_.get(), temporaryName, name);
        if (placed) {
            std::ignore = synchronizeFolder(folder_.get());
            return name;
        }
        if (placed.error().code != EEXIST) return failure(placed.error());
    }
    return failure(SystemError{EEXIST});
}

void SaveFolder::remove(const std::string& name)
{
    ::unlinkat(folder_.get(), name.c_str(), 0);
}

} // namespace korvane
