#include "spool/SpoolFolders.h"

#include "base/AtomicFile.h"
#include "base/FileWriting.h"
#include "base/Files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <string_view>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t maxProcessIDSize = 32;

/** On a full disk the file stays empty, rather than name an agent that has ended. */
void writeProcessID(const std::filesystem::path& file)
{
    const FileDescriptor opened(
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!opened) return;
    const std::string line = std::to_string(::getpid()) + "\n";
    [[maybe_unused]] const auto written = ::write(opened.get(), line.data(), line.size());
}

std::optional<pid_t> readProcessID(const std::filesystem::path& file)
{
    const auto content = readFile(file, maxProcessIDSize);
    if (!content) return std::nullopt;
    const std::string_view line = content->text();
    pid_t process = 0;
    std::from_chars(line.begin(), line.end(), process);
    return process > 0 ? std::optional(process) : std::nullopt;
}

} // namespace

SpoolFolders::SpoolFolders(const std::filesystem::path& stateFolder)
    : spool_(stateFolder / "spool"), unsaved_(stateFolder / "unsaved")
{
    createPrivateFolders(spool_);
    createPrivateFolders(unsaved_);
    lock_ = FileDescriptor(::open(spool_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock_) {
        error_ = SystemError::last();
    } else if (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        error_ = SystemError{EBUSY};
        owner_ = readProcessID(stateFolder / "agent.pid");
    } else {
        writeProcessID(stateFolder / "agent.pid");
    }
}

Result<void, SystemError> SpoolFolders::check() const
{
    if (error_) return failure(*error_);
    if (::access(spool_.c_str(), W_OK | X_OK) != 0) return failure(SystemError::last());
    return {};
}

Result<void, SystemError> SpoolFolders::synchronizeSpool() const
{
    return synchronizeFile(lock_.get());
}

void SpoolFolders::synchronizeUnsaved() const
{
    const FileDescriptor folder(::open(unsaved_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (folder) std::ignore = synchronizeFolder(folder.get());
}

Result<JobRecord, SystemError> readRecord(const std::filesystem::path& file)
{
    const auto content = readFile(file, maxRecordSize);
    if (!content) return failure(content.error());
    auto record = decodeRecord(content->text());
    if (!record) return failure(SystemError{ENODATA});
    return *std::move(record);
}

Result<void, SystemError> writeRecord(const std::filesystem::path& file, const JobRecord& record)
{
    return writeFileAtomically(file, Data::copying(encodeRecord(record)).bytes());
}

Result<void, SystemError> writeNewRecord(const std::filesystem::path& file, const JobRecord& record)
{
    return writeNewFileAtomically(file, Data::copying(encodeRecord(record)).bytes());
}

Result<void, SystemError> truncateToDocument(int file, std::uint64_t length)
{
    if (::ftruncate(file, static_cast<off_t>(length)) != 0) return failure(SystemError::last());
    return synchronizeFile(file);
}

} // namespace korvane
