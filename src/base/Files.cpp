#include "base/Files.h"

#include "base/ByteBuffer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t readStep = std::size_t{64} * 1024;

/** The kind bits of what is at a path; nothing when nothing can be found there. */
std::optional<mode_t> modeAt(const std::filesystem::path& path)
{
    struct stat status {};
    if (!canNameFile(path) || ::stat(path.c_str(), &status) != 0) return std::nullopt;
    return status.st_mode;
}

Result<void, SystemError> requireRegular(int file)
{
    struct stat status {};
    if (::fstat(file, &status) != 0) return failure(SystemError::last());
    if (S_ISDIR(status.st_mode)) return failure(SystemError{EISDIR});
    if (!S_ISREG(status.st_mode)) return failure(SystemError{EINVAL});
    return {};
}

Result<Data, SystemError> readAll(int file, std::size_t limit)
{
    ByteBuffer content;
    for (;;) {
        const std::span<std::uint8_t> room = content.prepare(readStep);
        const ssize_t count = ::read(file, room.data(), room.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failure(SystemError::last());
        if (count == 0) return content.take();
        content.commit(static_cast<std::size_t>(count));
        if (content.size() > limit) return failure(SystemError{EFBIG});
    }
}

} // namespace

Result<FileDescriptor, SystemError> openRegularFile(const std::filesystem::path& path)
{
    if (!canNameFile(path)) return failure(SystemError{EINVAL});
    // Opening a pipe would otherwise wait for its other end.
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file) return failure(SystemError::last());
    if (const auto regular = requireRegular(file.get()); !regular) return failure(regular.error());
    return file;
}

Result<Data, SystemError> readFile(const std::filesystem::path& path, std::size_t limit)
{
    return openRegularFile(path).and_then(
        [&](const FileDescriptor& file) { return readAll(file.get(), limit); });
}

Result<Data, SystemError> readAt(int file, std::uint64_t offset, std::size_t size)
{
    std::vector<std::uint8_t> bytes(size);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count =
            ::pread(file, &bytes[done], size - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failure(SystemError::last());
        if (count == 0) return failure(SystemError{EIO});
        done += static_cast<std::size_t>(count);
    }
    return Data(std::move(bytes));
}

std::vector<std::string> entryNames(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        names.push_back(entry->path().filename());
    return names;
}

bool fileExists(const std::filesystem::path& path)
{
    return modeAt(path).has_value();
}

bool isDirectory(const std::filesystem::path& path)
{
    const std::optional<mode_t> mode = modeAt(path);
    return mode && S_ISDIR(*mode);
}

void createPrivateFolders(const std::filesystem::path& path)
{
    if (isDirectory(path) || !canNameFile(path)) return;
    std::filesystem::path folder;
    for (const std::filesystem::path& part : path) {
        folder /= part;
        ::mkdir(folder.c_str(), 0700);
    }
}

bool canNameFile(const std::filesystem::path& path)
{
    return path.native().find('\0') == std::string::npos;
}

} // namespace korvane
