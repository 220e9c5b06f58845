#include "document/JobPipeline.h"
#include "event/SystemQueues.h"
#include "recognition/WorkerDocuments.h"
#include "support/FakeDocuments.h"
#include "support/ManualClock.h"
#include "support/RecordingLog.h"
#include "support/TemporaryFolder.h"
#include "support/TestSpool.h"
#include "workerpool/WorkerPool.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <future>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace korvane {
namespace {

/** Never answers. */
class SilentWorker final : public Worker {
public:
    explicit SilentWorker(const std::function<void()>& asked) : asked_(asked) {}

    void send(WorkerMessage /*request*/) override { asked_(); }
    void release() override {}
    void kill() override {}
    bool hasEnded() const override { return false; }
    std::chrono::milliseconds processorTime() const override { return {}; }
    std::size_t memory() const override { return 0; }

private:
    const std::function<void()>& asked_;
};

struct SilentLauncher final : WorkerLauncher {
    explicit SilentLauncher(std::function<void()> calledWhenAsked)
        : asked(std::move(calledWhenAsked))
    {
    }

    Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& /*queue*/,
                                                          Worker::Events /*events*/) override
    {
        return std::make_unique<SilentWorker>(asked);
    }

    const std::function<void()> asked;
};

/** The agent's queues from the arrival of jobs to their end. */
class AgentEndTest : public testing::Test {
protected:
    AgentEndTest()
    {
        ::setenv("TZ", "UTC", 1);
        // Before the threads start: the C library's lock is none that the thread sanitizer sees.
        ::tzset();
    }

    /** More than are worked on at a time. */
    static constexpr int jobCount = 70;

    void print(DocumentService& documents, OCR& ocr)
    {
        pipeline = std::make_shared<JobPipeline>(
            JobEnvironment{queues, folders, *spool, clock, log, documents, ocr, "ann"},
            JobHandlers{[this](const CompletedJob& job) { completed.push_back(job.jobName); },
                        [](const UnsavedJob& /*job*/) { FAIL(); }});
        for (int job = 0; job < jobCount; ++job) {
            printJobs.push_back(std::make_shared<PrintJob>(JobOrigin(), clock));
            pipeline->process(spool.accept(std::to_string(job), folder.path()), printJobs.back());
        }
    }

    void expectAllSavedAsReceived() const
    {
        EXPECT_EQ(std::ssize(completed), jobCount);
        EXPECT_EQ(folder.entryCount(), jobCount);
        for (int job = 0; job < jobCount; ++job)
            EXPECT_EQ(folder.read(std::to_string(job) + ".pdf"), "%PDF received");
        EXPECT_EQ(spool.jobCount(), 0);
        EXPECT_THAT(log.lines(), testing::IsEmpty());
    }

    RecordingLog log;
    ManualClock clock;
    TemporaryFolder folder;
    std::vector<std::string> completed;
    TestSpool spool;
    SystemQueues queues{log};
    FolderQueues folders{queues.background()};
    std::shared_ptr<JobPipeline> pipeline;
    std::vector<std::shared_ptr<PrintJob>> printJobs;
};

TEST_F(AgentEndTest, SavesJobsThatAreBeingOpenedAndThoseThatWait)
{
    WorkerPool* pool = nullptr;
    WorkerPool workers(queues, std::make_unique<SilentLauncher>([&] {
                           queues.main().async([&] {
                               pool->stop();
                               queues.stopMain();
                           });
                       }));
    pool = &workers;
    WorkerDocuments documents(workers);
    OCR ocr(queues, documents, {"eng"}, log);
    queues.main().async([&] { print(documents, ocr); });
    queues.runMain();
    expectAllSavedAsReceived();
}

TEST_F(AgentEndTest, SavesJobsWhateverStepTheyAreAt)
{
    const auto workers = queues.makeSerial("workers");
    FakeDocuments documents;
    documents.pages = {
        {.lines = {"word"},
         .recognitionError = DocumentError{.kind = DocumentError::Kind::worker,
                                           .failure = {.kind = WorkerFailure::Kind::stopped}}}};
    // Dropped once that queue has ended.
    documents.deliver = [&](Task answer) { workers->async(std::move(answer)); };
    OCR ocr(queues, documents, {"eng"}, log);
    queues.main().async([&] {
        print(documents, ocr);
        queues.stopMain();
    });
    queues.runMain();
    expectAllSavedAsReceived();
}

TEST_F(AgentEndTest, SavesEachJobThatWasNotCanceledBefore)
{
    const auto workers = queues.makeSerial("workers");
    FakeDocuments documents;
    documents.pages.assign(3, {.recognitionError = DocumentError{DocumentError::Kind::noPage}});
    documents.deliver = [&](Task answer) { workers->async(std::move(answer)); };
    OCR ocr(queues, documents, {"eng"}, log);
    std::set<int> canceled;
    std::thread client;
    queues.main().async([&] {
        print(documents, ocr);
        client = std::thread([&] {
            for (int job = jobCount; job-- > 0;)
                if (printJobs[static_cast<std::size_t>(job)]->cancel()) canceled.insert(job);
            queues.main().async([&] { queues.stopMain(); });
        });
    });
    queues.runMain();
    client.join();
    for (int job = 0; job < jobCount; ++job)
        EXPECT_NE(std::filesystem::exists(folder.path() / (std::to_string(job) + ".pdf")),
                  canceled.contains(job));
    EXPECT_EQ(completed.size() + canceled.size(), std::size_t{jobCount});
    EXPECT_EQ(log.lines().size(), canceled.size());
    EXPECT_EQ(spool.jobCount(), 0);
}

TEST(FolderQueues, KeepAFoldersTasksInTheirOrderAndNoOtherFoldersWaiting)
{
    RecordingLog log;
    SystemQueues queues(log);
    FolderQueues folders(queues.background());
    std::promise<void> answer, done;
    std::string order;
    folders.of("/hangs")->async([hanging = answer.get_future().share()] { hanging.wait(); });
    folders.of("/hangs")->async([&] {
        order += "b";
        throw std::runtime_error("no memory");
    });
    folders.of("/hangs")->async([&] {
        order += "c";
        done.set_value();
    });
    std::promise<void> other;
    folders.of("/other")->async([&] { other.set_value(); });
    other.get_future().wait();
    order += "a";
    answer.set_value();
    done.get_future().wait();
    EXPECT_EQ(order, "abc");
}

} // namespace
} // namespace korvane
