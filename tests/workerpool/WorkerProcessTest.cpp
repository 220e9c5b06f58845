#include "workerpool/WorkerProcess.h"

#include "DoubleOperation.h"
#include "base/Sanitizers.h"
#include "event/SystemQueues.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"
#include "workerpool/WireReader.h"
#include "workerpool/WireWriter.h"
#include "workerpool/WorkerPool.h"

#include <gmock/gmock.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <future>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;
using Kind = WorkerFailure::Kind;

constexpr seconds plenty(30);

/** A pool over real processes, which do what the test asks of them. */
class WorkerProcessTest : public testing::Test {
protected:
    std::future<WorkerAnswer> begin(DoubleOperation operation, WireWriter request = {},
                                    milliseconds limit = plenty)
    {
        return submit(pool, request.message(static_cast<std::uint16_t>(operation)), limit);
    }

    WorkerAnswer ask(DoubleOperation operation, WireWriter request = {},
                     milliseconds limit = plenty)
    {
        return begin(operation, std::move(request), limit).get();
    }

    std::future<WorkerAnswer> submit(WorkerPool& to, WorkerMessage request, milliseconds limit)
    {
        auto promise = std::make_shared<std::promise<WorkerAnswer>>();
        auto answer = promise->get_future();
        to.submit(job, std::move(request), limit,
                  [promise](WorkerAnswer result) { promise->set_value(std::move(result)); });
        return answer;
    }

    static WireWriter text(std::string_view content)
    {
        WireWriter writer;
        writer.string(content);
        return writer;
    }

    RecordingLog log;
    SystemQueues queues{log};
    WorkerPool pool{queues, std::make_unique<WorkerProcessLauncher>(WORKER_DOUBLE),
                    WorkerPoolLimits{.workers = 2}};
    const JobKey job = pool.makeJob();
};

TEST_F(WorkerProcessTest, AnswersHoweverLargeTheRequest)
{
    for (const std::size_t size : {0U, 1000U, 20'000'000U}) {
        const std::string content(size, 'x');
        auto answer = ask(DoubleOperation::echo, text(content));
        ASSERT_TRUE(answer) << answer.error().description();
        EXPECT_EQ(WireReader(*std::move(answer)).string(), content);
    }
}

TEST_F(WorkerProcessTest, KnowsWhatItsRequestMayTake)
{
    auto answer = ask(DoubleOperation::telling, {}, milliseconds(23'456));
    ASSERT_TRUE(answer) << answer.error().description();
    EXPECT_EQ(WireReader(*std::move(answer)).u64(), 23'456U);
}

TEST_F(WorkerProcessTest, InheritsNothingButWhatItNeeds)
{
    ::setenv("LD_PRELOAD_OF_THE_AGENT", "x", 1); // NOLINT: no other thread reads it
    auto answer = ask(DoubleOperation::surroundings);
    ASSERT_TRUE(answer);
    const std::string surroundings = WireReader(*std::move(answer)).string();
    EXPECT_THAT(surroundings, HasSubstr("OMP_THREAD_LIMIT=1\n"));
    if (!isSanitized) {
        const seconds limit = duration_cast<seconds>(2 * WorkerPoolLimits().processorTime);
        EXPECT_THAT(surroundings, HasSubstr("runs " + std::to_string(limit.count()) + " s\n"));
    }
    for (const char* absent : {"AGENT", "PATH=", "DBUS", "open "})
        EXPECT_THAT(surroundings, Not(HasSubstr(absent)));
}

TEST_F(WorkerProcessTest, AFailureCostsTheRequestAlone)
{
    using enum DoubleOperation;
    const std::string rest("\1\0\0\0\0\0\0\0\0\0\0\x4B", 12);
    struct Case {
        const char* name;
        DoubleOperation operation;
        WorkerFailure expected;
        std::string payload = {};
        milliseconds limit = plenty;
    };
    const Case cases[] = {
        {"crash", segfault, {Kind::crashed, SIGSEGV}},
        {"exit", leaving, {Kind::exited, 3}},
        {"hang", hanging, {Kind::timedOut}, "", milliseconds(50)},
        {"memory bomb", memoryBomb, {Kind::outOfMemory}},
        {"closed socket", closing, {Kind::crashed, SIGKILL}},
        {"exception", throwing, {Kind::refused, 2}},
        {"refusal", refusing, {Kind::refused, 1}},
        {"unknown operation", DoubleOperation{999}, {Kind::refused, 1}},
        {"noise", noise, {Kind::invalidResponse}, std::string(64, '\xAA')},
        {"endless message", noise, {Kind::invalidResponse}, "\xFF\xFF\xFF\xFF" + rest},
        {"announced descriptor",
         noise,
         {Kind::invalidResponse},
         std::string("\0\0\0\0\1\0\0\0\0\0\0\0\0\0\1\x4B", 16)},
        {"incomplete message",
         noise,
         {Kind::timedOut},
         std::string("\0\0\0\1\1\0\0\0\0\0\0\0\0\0\0\x4B", 16),
         milliseconds(50)},
        {"answer to another request", answeringAnother, {Kind::invalidResponse}},
        {"unexpected descriptor", withDescriptor, {Kind::invalidResponse}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        if (isSanitized && each.operation == memoryBomb) continue;
        const auto answer = ask(each.operation, text(each.payload), each.limit);
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error(), each.expected) << answer.error().description();
        EXPECT_TRUE(ask(echo, text("next")));
    }
    EXPECT_THAT(log.errors(), testing::IsEmpty());
}

TEST_F(WorkerProcessTest, AMissingProgramIsReported)
{
    WorkerPool without(queues, std::make_unique<WorkerProcessLauncher>("/nonexistent"));
    EXPECT_EQ(submit(without, {}, plenty).get().error(),
              (WorkerFailure{Kind::couldNotStart, ENOENT}));
}

TEST_F(WorkerProcessTest, IsConfinedToItsSandbox)
{
    if (isSanitized) GTEST_SKIP() << "sanitizers need what the sandbox denies";
    struct Case {
        Attempt attempt;
        int error; ///< 0: it succeeds; SIGSYS as a negative number: the process is killed
    };
    const Case cases[] = {
        {Attempt::startThread, 0},        {Attempt::loadLibrary, EINVAL},
        {Attempt::openForWriting, EPERM}, {Attempt::createFile, EPERM},
        {Attempt::makeSocket, EPERM},     {Attempt::makeMemoryFile, ENOSYS},
        {Attempt::mapExecutable, ENOSYS}, {Attempt::mapFileExecutable, ENOSYS},
        {Attempt::shareMemory, ENOSYS},   {Attempt::raiseLimit, ENOSYS},
        {Attempt::runProgram, -SIGSYS},   {Attempt::fork, -SIGSYS},
        {Attempt::connect, -SIGSYS},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(static_cast<int>(each.attempt));
        WireWriter request;
        request.u8(static_cast<std::uint8_t>(each.attempt));
        auto answer = ask(DoubleOperation::attempt, std::move(request));
        if (!answer) {
            EXPECT_EQ(answer.error(), (WorkerFailure{Kind::crashed, -each.error}));
            continue;
        }
        EXPECT_EQ(WireReader(*std::move(answer)).i32(), each.error);
    }
}

TEST_F(WorkerProcessTest, ReadsNoFilesButFontsAndTheLike)
{
    if (isSanitized) GTEST_SKIP() << "sanitizers need what the sandbox denies";
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1)
        GTEST_SKIP() << "this kernel has no Landlock";
    const TemporaryFolder home;
    // Folders that do not begin at the root are none.
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        ::setenv(name, ".", 1);               // NOLINT: no other thread reads it
    ::setenv("HOME", home.path().c_str(), 1); // NOLINT: no other thread reads it
    const SharedDescriptor document = unnamedFile();
    const std::string agent = "/proc/" + std::to_string(::getpid());
    struct Case {
        std::string path;
        int error = EACCES;
    };
    const Case cases[] = {
        {"/usr/share", 0},
        {"/etc/fonts/fonts.conf", 0},
        {home.write(".local/share/fonts/letters.ttf", "font"), 0},
        {home.write(".config/fontconfig/fonts.conf", "settings"), 0},
        {home.write(".ssh/id", "secret")},
        {home.path()},
        {"/etc/passwd"},
        {"/proc/self/environ"},
        {agent + "/environ"},
        {agent + "/fd"},
        {agent + "/fd/" + std::to_string(document->get())},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.path);
        auto answer = ask(DoubleOperation::opening, text(each.path));
        ASSERT_TRUE(answer) << answer.error().description();
        EXPECT_EQ(WireReader(*std::move(answer)).i32(), each.error);
    }
}

} // namespace
} // namespace korvane
