#include "platform/log/StreamLog.h"

#include "platform/log/LogLine.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <exception>
#include <string>

namespace korvane {

namespace {

/** How long a reader of a non-blocking stream may keep us waiting before its line is dropped. */
constexpr int patienceInMilliseconds = 100;

/** Holds back the SIGPIPE that a write to a reader who left raises on this thread. */
class BrokenPipeGuard {
public:
    BrokenPipeGuard()
    {
        ::sigemptyset(&brokenPipe_);
        ::sigaddset(&brokenPipe_, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
    }
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;
    ~BrokenPipeGuard()
    {
        const std::timespec now{};
        while (::sigtimedwait(&brokenPipe_, nullptr, &now) < 0 && errno == EINTR) {
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t brokenPipe_{};
    sigset_t before_{};
};

bool becomesWritable(int descriptor)
{
    pollfd poll{descriptor, POLLOUT, 0};
    return ::poll(&poll, 1, patienceInMilliseconds) > 0;
}

void writeWhole(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            if (!becomesWritable(descriptor)) return;
        } else if (errno != EINTR) {
            return;
        }
    }
}

} // namespace

void StreamLog::write(LogLevel /*level*/, std::string_view line)
{
    try {
        const std::string text = escapedLogLine(line) + '\n';
        const std::scoped_lock lock(mutex_);
        const BrokenPipeGuard guard;
        writeWhole(descriptor_, text);
    } catch (const std::exception&) {
        return; // no memory for the line: go on without it
    }
}

} // namespace korvane
