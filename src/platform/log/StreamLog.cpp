#include "platform/log/StreamLog.h"

#include "platform/log/LogLine.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <exception>
#include <string>

namespace korvane {

namespace {

/** How long a reader who has stopped reading may keep us waiting, once. */
constexpr int patienceInMilliseconds = 1000;

} // namespace

bool StreamLog::becomesWritable()
{
    pollfd poll{descriptor_, POLLOUT, 0};
    stalled_ = ::poll(&poll, 1, stalled_ ? 0 : patienceInMilliseconds) == 0;
    return !stalled_;
}

bool StreamLog::writeWhole(std::string_view text)
{
    while (!text.empty()) {
        if (!becomesWritable()) return false;
        // A pipe that says it is writable takes that much without blocking (POSIX, write()).
        const ssize_t written =
            ::write(descriptor_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
            unfinished_ = !text.empty();
        } else if (written < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        }
    }
    return true;
}

void StreamLog::write(LogLevel /*level*/, std::string_view line)
{
    try {
        const std::string text = escapedLogLine(line) + '\n';
        const std::scoped_lock lock(mutex_);
        if (!unfinished_ || writeWhole("\n")) writeWhole(text);
    } catch (const std::exception&) {
        return; // no memory for the line: go on without it
    }
}

} // namespace korvane
