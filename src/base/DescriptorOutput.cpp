#include "base/DescriptorOutput.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace korvane {

namespace {

/** After so many bytes the disk is set to work on them while we go on copying. */
constexpr std::size_t writebackStep = std::size_t{8} * 1024 * 1024;

/** The most that one write takes. Larger ones fill the page cache with larger pages, which then
 * wait for each other's writeback: bench/run large shows it. */
constexpr std::size_t writeSize = std::size_t{256} * 1024;

} // namespace

Result<void, SystemError> DescriptorOutput::write(std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), std::min(bytes.size(), writeSize));
        if (count < 0) {
            if (errno == EINTR) continue;
            return failure(SystemError::last());
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        written_ += static_cast<std::size_t>(count);
        if (written_ - flushed_ >= writebackStep) startWriteback();
    }
    return {};
}

void DescriptorOutput::startWriteback()
{
    // Only a hint: an error of the disk shows when the file is synchronized.
    ::sync_file_range(descriptor_, static_cast<off64_t>(flushed_),
                      static_cast<off64_t>(written_ - flushed_), SYNC_FILE_RANGE_WRITE);
    flushed_ = written_;
}

} // namespace korvane
