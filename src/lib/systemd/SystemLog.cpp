#include "lib/systemd/SystemLog.h"

#include "text/CodePoints.h"
#include "text/Text.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

// The place in the source that the library would add is always this file.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <mutex>
#include <utility>

namespace korvane {

namespace {

/** How long a reader that has stopped reading may block a writer, once. */
constexpr int stallMilliseconds = 1000;

class JournalLog final : public Log {
public:
    explicit JournalLog(LogIdentity identity) : identity_(std::move(identity)) {}

    void write(LogLevel level, std::string_view line) override
    {
        try {
            auto fields = journalFields(identity_, level, line);
            std::array<iovec, std::tuple_size_v<decltype(fields)>> entry{};
            std::ranges::transform(fields, entry.begin(), [](std::string& field) {
                return iovec{field.data(), field.size()};
            });
            ::sd_journal_sendv(entry.data(), static_cast<int>(entry.size()));
        } catch (const std::exception&) {
            return; // no memory for the line: go on without it
        }
    }

private:
    const LogIdentity identity_;
};

class StreamLog final : public Log {
public:
    explicit StreamLog(int descriptor) : descriptor_(descriptor) {}

    void write(LogLevel /*level*/, std::string_view line) override
    {
        try {
            const std::string text = escapedLogLine(line) + '\n';
            const std::scoped_lock lock(mutex_);
            if (!unfinished_ || writeWhole("\n")) writeWhole(text);
        } catch (const std::exception&) {
            return; // no memory for the line: go on without it
        }
    }

private:
    bool becomesWritable()
    {
        pollfd poll{descriptor_, POLLOUT, 0};
        stalled_ = ::poll(&poll, 1, stalled_ ? 0 : stallMilliseconds) == 0;
        return !stalled_;
    }

    bool writeWhole(std::string_view text)
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

    const int descriptor_;
    std::mutex mutex_;
    /** The reader has stopped reading: the next line does not wait again. */
    bool stalled_ = false;
    /** The latest line was cut off: the next one begins with a line end. */
    bool unfinished_ = false;
};

} // namespace

std::unique_ptr<Log> makeSystemLog(LogIdentity identity, int descriptor)
{
    const char* journalStream = std::getenv("JOURNAL_STREAM"); // NOLINT(concurrency-mt-unsafe)
    if (journalStream != nullptr && isJournalStream(descriptor, journalStream)) {
        return std::make_unique<JournalLog>(std::move(identity));
    }
    return std::make_unique<StreamLog>(descriptor);
}

bool isJournalStream(int descriptor, std::string_view journalStream)
{
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return false;
    return journalStream == fmt::format("{}:{}", status.st_dev, status.st_ino);
}

std::array<std::string, 5> journalFields(const LogIdentity& identity, LogLevel level,
                                         std::string_view line)
{
    return {
        "MESSAGE=" + escapedLogLine(line),
        level == LogLevel::error ? "PRIORITY=3" : "PRIORITY=6",
        "SYSLOG_IDENTIFIER=" + identity.program,
        "KORVANE_SUBSYSTEM=" + identity.subsystem,
        "KORVANE_CATEGORY=" + identity.category,
    };
}

std::string escapedLogLine(std::string_view line)
{
    std::string shown;
    shown.reserve(line.size());
    while (!line.empty()) {
        const text::Sequence sequence = text::takeSequence(line);
        if (sequence.codePoint && !text::isControl(*sequence.codePoint)) {
            shown += sequence.bytes;
            continue;
        }
        for (const char byte : sequence.bytes) {
            fmt::format_to(std::back_inserter(shown), "\\x{:02x}",
                           static_cast<unsigned char>(byte));
        }
    }
    return shown;
}

} // namespace korvane
