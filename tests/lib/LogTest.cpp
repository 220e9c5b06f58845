#include "base/FileDescriptor.h"
#include "lib/systemd/SystemLog.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <thread>

namespace korvane {

namespace {

using namespace std::string_view_literals;

/** Logs at the one end of a pipe, and what is read at the other. */
class PipeLog : public testing::Test {
protected:
    PipeLog()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
        log = makeSystemLog({}, writer.get());
    }

    std::string read()
    {
        std::string text;
        std::array<char, 4096> block{};
        for (ssize_t count = 0; (count = ::read(reader.get(), block.data(), block.size())) > 0;) {
            text.append(block.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

    FileDescriptor reader;
    FileDescriptor writer;
    std::unique_ptr<Log> log;
};

} // namespace

TEST(LogLine, ShowsWhatCouldEndALineOrSteerATerminalAndLeavesTheRest)
{
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"", ""},
        {"IPPServer: B\u00FCro \u6F22 \U0001F600", "IPPServer: B\u00FCro \u6F22 \U0001F600"},
        {R"("C:\x0a")", R"("C:\x0a")"},
        {"a\nb\r\tc", R"(a\x0ab\x0d\x09c)"},
        {"\0\x1B[2J\x7F"sv, R"(\x00\x1b[2J\x7f)"},
        {"\u0080\u009B31m\u009F\u00A0", "\\xc2\\x80\\xc2\\x9b31m\\xc2\\x9f\u00A0"},
        {"\u2027\u2028\u2029\u2030", "\u2027\\xe2\\x80\\xa8\\xe2\\x80\\xa9\u2030"},
        {"\xFFz\xC3", R"(\xffz\xc3)"},
        {"\x9B\xED\xA0\x80", R"(\x9b\xed\xa0\x80)"}};
    for (const auto& [line, visible] : cases) EXPECT_EQ(escapedLogLine(line), visible);
}

TEST_F(PipeLog, KeepsLongLinesOfManyThreadsWhole)
{
    std::string written;
    std::thread reading([&] { written = read(); });
    const auto write = [&](char letter) {
        // A line is more than a pipe takes in one go.
        for (int i = 0; i < 50; ++i) log->note(std::string(20000, letter));
    };
    std::thread other(write, 'a');
    write('b');
    other.join();
    writer = FileDescriptor();
    reading.join();
    ASSERT_EQ(written.size(), 100 * 20001U);
    for (std::string_view rest = written; !rest.empty(); rest.remove_prefix(20001)) {
        ASSERT_EQ(rest.find_first_not_of(rest.front()), rest.find('\n'));
        ASSERT_EQ(rest[20000], '\n');
    }
}

TEST_F(PipeLog, OutlivesAReaderThatLeft)
{
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    reader = FileDescriptor();
    log->note("nobody hears this");
    std::signal(SIGPIPE, before);
}

TEST_F(PipeLog, DropsWhatAStalledReaderDoesNotTake)
{
    log->note(std::string(1 << 20, 'x')); // returning at all is the point
    for (int i = 0; i < 1000; ++i) log->note("dropped");
    ::fcntl(reader.get(), F_SETFL, O_NONBLOCK);
    EXPECT_EQ(read(), std::string(1 << 16, 'x'));
    log->note("later");
    EXPECT_EQ(read(), "\nlater\n");
}

TEST_F(PipeLog, IsBareLinesUnlessTheServiceManagerNamesTheStreamAsTheJournal)
{
    struct stat status {};
    ASSERT_EQ(::fstat(writer.get(), &status), 0);
    const std::string stream = fmt::format("{}:{}", status.st_dev, status.st_ino);
    EXPECT_TRUE(isJournalStream(writer.get(), stream));
    for (const std::string& inherited : {std::string(), stream + "0"}) {
        EXPECT_FALSE(isJournalStream(writer.get(), inherited));
        ::setenv("JOURNAL_STREAM", inherited.c_str(), 1);
        makeSystemLog({}, writer.get())->note("bare");
    }
    // An entry of the journal is never a line of the stream; here its text is empty.
    ::setenv("JOURNAL_STREAM", stream.c_str(), 1);
    makeSystemLog({.program = "korvane-test"}, writer.get())->note("");
    ::unsetenv("JOURNAL_STREAM");
    log->note("on a terminal");
    writer = FileDescriptor();
    EXPECT_EQ(read(), "bare\nbare\non a terminal\n");
}

TEST(JournalLog, GivesThePriorityAndTheOriginAsFields)
{
    const LogIdentity identity{"korvane-agent", "org.korvane.Agent", "app"};
    EXPECT_THAT(journalFields(identity, LogLevel::error, "OCR: bad\npage"),
                testing::ElementsAre(
                    "MESSAGE=OCR: bad\\x0apage", "PRIORITY=3", "SYSLOG_IDENTIFIER=korvane-agent",
                    "KORVANE_SUBSYSTEM=org.korvane.Agent", "KORVANE_CATEGORY=app"));
    EXPECT_EQ(journalFields(identity, LogLevel::normal, "")[1], "PRIORITY=6");
}

} // namespace korvane
