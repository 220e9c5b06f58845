#include "platform/base/FileDescriptor.h"
#include "platform/log/JournalLog.h"
#include "platform/log/LogLine.h"
#include "platform/log/StreamLog.h"
#include "platform/log/SystemLog.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace korvane {

namespace {

using namespace std::string_view_literals;

struct Pipe {
    FileDescriptor reader;
    FileDescriptor writer;
};

Pipe makePipe(int flags = 0)
{
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC | flags), 0);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::string readToEnd(int descriptor)
{
    std::string text;
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t count = ::read(descriptor, block.data(), block.size());
        if (count <= 0) return text;
        text.append(block.data(), static_cast<std::size_t>(count));
    }
}

std::string deviceAndInode(int descriptor)
{
    struct stat status {};
    EXPECT_EQ(::fstat(descriptor, &status), 0);
    return fmt::format("{}:{}", status.st_dev, status.st_ino);
}

} // namespace

TEST(LogLine, ShowsWhatCouldEndALineOrSteerATerminalAndLeavesTheRest)
{
    struct Case {
        std::string_view line;
        std::string_view shown;
    };
    for (const Case& c : {
             Case{"", ""},
             Case{"IPPServer: B\u00FCro \u6F22 \U0001F600",
                  "IPPServer: B\u00FCro \u6F22 \U0001F600"},
             Case{R"("C:\x0a")", R"("C:\x0a")"},
             Case{"a\nb\r\tc", R"(a\x0ab\x0d\x09c)"},
             Case{"\0\x1B[2J\x7F"sv, R"(\x00\x1b[2J\x7f)"},
             Case{"\u0080\u009B31m\u009F\u00A0", "\\xc2\\x80\\xc2\\x9b31m\\xc2\\x9f\u00A0"},
             Case{"\u2027\u2028\u2029\u2030", "\u2027\\xe2\\x80\\xa8\\xe2\\x80\\xa9\u2030"},
             Case{"\xFFz\xC3", R"(\xffz\xc3)"},
             Case{"\x9B\xED\xA0\x80", R"(\x9b\xed\xa0\x80)"},
         }) {
        EXPECT_EQ(escapedLogLine(c.line), c.shown);
    }
}

TEST(StreamLog, WritesTheBareLineInOnePiece)
{
    std::array<int, 2> ends{-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    const FileDescriptor reader(ends[0]);
    const FileDescriptor writer(ends[1]);
    StreamLog log(writer.get());
    log.note("KorvaneAgent: started");
    log.error("two\nlines");

    // A packet socket keeps the bounds of each write.
    std::array<char, 100> packet{};
    for (const std::string_view line : {"KorvaneAgent: started\n", "two\\x0alines\n"}) {
        const ssize_t count = ::read(reader.get(), packet.data(), packet.size());
        EXPECT_EQ(std::string_view(packet.data(), static_cast<std::size_t>(count)), line);
    }
}

TEST(StreamLog, KeepsLongLinesOfManyThreadsWhole)
{
    constexpr std::size_t lineLength = 20000; // more than a pipe takes in one go
    constexpr std::size_t lineCount = 50;
    Pipe pipe = makePipe();
    std::string written;
    std::thread reader([&] { written = readToEnd(pipe.reader.get()); });
    {
        StreamLog log(pipe.writer.get());
        std::vector<std::thread> writers;
        for (const char letter : {'a', 'b', 'c', 'd'}) {
            writers.emplace_back([&log, line = std::string(lineLength, letter)] {
                for (std::size_t count = 0; count < lineCount; ++count) log.note(line);
            });
        }
        for (std::thread& writer : writers) writer.join();
    }
    pipe.writer = FileDescriptor();
    reader.join();

    ASSERT_EQ(written.size(), 4 * lineCount * (lineLength + 1));
    for (std::string_view rest = written; !rest.empty(); rest.remove_prefix(lineLength + 1)) {
        ASSERT_EQ(rest.find_first_not_of(rest.front()), lineLength);
        ASSERT_EQ(rest[lineLength], '\n');
    }
}

TEST(StreamLog, OutlivesAReaderThatLeft)
{
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    Pipe pipe = makePipe();
    pipe.reader = FileDescriptor();
    StreamLog log(pipe.writer.get());
    log.note("nobody hears this");
    std::signal(SIGPIPE, before);
}

TEST(StreamLog, DropsWhatAReaderWhoStallsDoesNotTake)
{
    const Pipe pipe = makePipe();
    StreamLog log(pipe.writer.get());
    log.note(std::string(1 << 20, 'x')); // returning at all is the point
    for (int i = 0; i < 1000; ++i) log.note("dropped");
    ::fcntl(pipe.reader.get(), F_SETFL, O_NONBLOCK);
    EXPECT_EQ(readToEnd(pipe.reader.get()), std::string(1 << 16, 'x'));
    log.note("later");
    EXPECT_EQ(readToEnd(pipe.reader.get()), "\nlater\n");
}

TEST(SystemLog, TakesOnlyTheStreamNamedByTheServiceManagerForTheJournal)
{
    const Pipe pipe = makePipe();
    const std::string stream = deviceAndInode(pipe.writer.get());
    EXPECT_TRUE(isJournalStream(pipe.writer.get(), stream));
    EXPECT_FALSE(isJournalStream(STDERR_FILENO, stream));
    EXPECT_FALSE(isJournalStream(pipe.writer.get(), stream + "0"));
    EXPECT_FALSE(isJournalStream(pipe.writer.get(), ""));
    EXPECT_FALSE(isJournalStream(-1, stream));
}

TEST(SystemLog, WritesBareLinesUnlessTheStreamIsTheJournal)
{
    Pipe pipe = makePipe();
    ASSERT_EQ(::setenv("JOURNAL_STREAM", deviceAndInode(pipe.writer.get()).c_str(), 1), 0);
    const std::unique_ptr<Log> journal = makeSystemLog({}, pipe.writer.get());
    EXPECT_NE(dynamic_cast<JournalLog*>(journal.get()), nullptr);

    ASSERT_EQ(::setenv("JOURNAL_STREAM", deviceAndInode(pipe.reader.get()).append("1").c_str(), 1),
              0);
    makeSystemLog({}, pipe.writer.get())->note("KorvaneAgent: inherited the variable only");
    ASSERT_EQ(::unsetenv("JOURNAL_STREAM"), 0);
    makeSystemLog({}, pipe.writer.get())->note("KorvaneAgent: on a terminal");
    pipe.writer = FileDescriptor();
    EXPECT_EQ(readToEnd(pipe.reader.get()), "KorvaneAgent: inherited the variable only\n"
                                            "KorvaneAgent: on a terminal\n");
}

TEST(SystemLog, GivesTheJournalThePriorityAndTheOriginAsFields)
{
    const LogIdentity identity{"korvane-agent", "org.korvane.Agent", "app"};
    EXPECT_THAT(journalFields(identity, LogLevel::error, "OCR: bad\npage"),
                testing::ElementsAre(
                    "MESSAGE=OCR: bad\\x0apage", "PRIORITY=3", "SYSLOG_IDENTIFIER=korvane-agent",
                    "KORVANE_SUBSYSTEM=org.korvane.Agent", "KORVANE_CATEGORY=app"));
    EXPECT_THAT(journalFields(identity, LogLevel::normal, ""), testing::Contains("PRIORITY=6"));
}

} // namespace korvane
