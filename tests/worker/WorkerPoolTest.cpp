#include "platform/worker/WorkerPool.h"

#include "support/ManualQueues.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>
#include <string>

namespace korvane {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WorkerFailure::Kind;

/** What the pool did to its workers and what these say, as the test tells them. */
struct Workshop {
    struct State {
        Worker::Events events;
        std::string request;
        bool isReleased = false;
        bool isKilled = false;
        std::size_t memory = 0;
    };

    /** Those that live, by the order of their start. */
    std::map<int, State> workers;
    int started = 0;
    bool canStart = true;

    void answer(int worker)
    {
        const auto answered = workers.at(worker).events.answered;
        answered({.payload = Data::copying(workers.at(worker).request)});
    }
    void end(int worker, WorkerFailure reason)
    {
        const auto ended = workers.at(worker).events.ended;
        ended(reason);
    }
};

class WorkshopWorker final : public Worker {
public:
    WorkshopWorker(Workshop& workshop, Events events)
        : workshop_(workshop), number_(workshop.started++)
    {
        workshop_.workers[number_].events = std::move(events);
    }
    WorkshopWorker(const WorkshopWorker&) = delete;
    WorkshopWorker& operator=(const WorkshopWorker&) = delete;
    ~WorkshopWorker() override { workshop_.workers.erase(number_); }

    void send(WorkerMessage request) override { state().request = request.payload.text(); }
    void release() override { state().isReleased = true; }
    void kill() override { state().isKilled = true; }
    std::size_t memory() const override { return workshop_.workers.at(number_).memory; }

private:
    Workshop::State& state() { return workshop_.workers.at(number_); }

    Workshop& workshop_;
    int number_;
};

class WorkshopLauncher final : public WorkerLauncher {
public:
    explicit WorkshopLauncher(Workshop& workshop) : workshop_(workshop) {}

    Result<std::unique_ptr<Worker>, WorkerFailure> launch(SerialQueue& /*queue*/,
                                                          Worker::Events events) override
    {
        if (!workshop_.canStart) return failure(WorkerFailure{Kind::couldNotStart, ENOENT});
        return std::make_unique<WorkshopWorker>(workshop_, std::move(events));
    }

private:
    Workshop& workshop_;
};

class WorkerPoolTest : public testing::Test {
protected:
    void submit(JobKey job, const std::string& text)
    {
        pool.submit(job, {.payload = Data::copying(text)}, seconds(10),
                    [this, text](const WorkerAnswer& answer) {
                        if (answer) {
                            answered.emplace_back(answer->payload.text());
                        } else {
                            failed.emplace_back(text, answer.error().kind);
                        }
                    });
        queues.run();
    }

    ManualQueues queues;
    Workshop workshop;
    std::vector<std::string> answered;
    std::vector<std::pair<std::string, Kind>> failed;
    WorkerPool pool{queues, std::make_unique<WorkshopLauncher>(workshop),
                    WorkerPoolLimits{.workers = 2, .requests = 100, .memory = 1000}};
    const JobKey large = pool.makeJob();
    const JobKey small = pool.makeJob();
};

TEST_F(WorkerPoolTest, JobsTakeTurnsSoThatALargeOneDoesNotHoldUpASmallOne)
{
    for (const char* page : {"large 1", "large 2", "large 3", "large 4", "large 5"})
        submit(large, page);
    submit(small, "small 1");
    submit(small, "small 2");
    EXPECT_EQ(workshop.started, 2);
    for (int turn = 0; turn < 7; ++turn) workshop.answer(turn % 2);
    EXPECT_THAT(answered, ElementsAre("large 1", "large 2", "large 3", "small 1", "large 4",
                                      "small 2", "large 5"));
    EXPECT_EQ(workshop.started, 2);
}

TEST_F(WorkerPoolTest, AWorkerThatFailsCostsItsRequestAndIsReplacedForTheNext)
{
    for (const char* page : {"a", "b", "c"}) submit(large, page);
    workshop.end(0, {Kind::crashed, 11});
    EXPECT_THAT(failed, ElementsAre(std::pair("a", Kind::crashed)));
    EXPECT_EQ(workshop.workers.at(2).request, "c");
    workshop.answer(1);
    // Nobody waits for a worker that has nothing to do.
    workshop.end(1, {Kind::crashed, 11});
    EXPECT_EQ(workshop.started, 3);
}

TEST_F(WorkerPoolTest, ARequestThatTakesTooLongFailsWithItsWorker)
{
    for (const char* page : {"a", "b", "c"}) submit(large, page);
    queues.advance(seconds(9));
    workshop.answer(1);
    queues.advance(seconds(2));
    EXPECT_THAT(failed, ElementsAre(std::pair("a", Kind::timedOut)));
    EXPECT_TRUE(workshop.workers.at(0).isKilled);
    EXPECT_FALSE(workshop.workers.at(1).isKilled) << "its second request began later";
    workshop.end(0, {Kind::crashed, 9});
    EXPECT_EQ(failed.size(), 1U);
}

TEST_F(WorkerPoolTest, WhenNothingStartsEveryRequestFailsAfterOneTry)
{
    workshop.canStart = false;
    submit(large, "a");
    submit(small, "b");
    EXPECT_THAT(failed, ElementsAre(std::pair("a", Kind::couldNotStart),
                                    std::pair("b", Kind::couldNotStart)));
}

TEST_F(WorkerPoolTest, WorkersWithoutWorkAreLetGoAndKilledWhenTheyStay)
{
    pool.warmUp();
    queues.run();
    EXPECT_EQ(workshop.started, 2);
    queues.advance(seconds(50));
    submit(large, "a");
    workshop.answer(0);
    queues.advance(seconds(20));
    EXPECT_TRUE(workshop.workers.at(1).isReleased);
    EXPECT_FALSE(workshop.workers.at(0).isReleased) << "it has worked since";
    queues.advance(seconds(41));
    EXPECT_TRUE(workshop.workers.at(0).isReleased);
    EXPECT_TRUE(workshop.workers.at(1).isKilled);
    workshop.end(0, {Kind::exited, 0});
    workshop.end(1, {Kind::crashed, 9});
    EXPECT_FALSE(queues.queue("workers")->hasDelayedTask());
}

TEST_F(WorkerPoolTest, AWorkerIsReplacedOnceItHasServedManyRequestsOrGrown)
{
    for (int served = 0; served < 100; ++served) {
        submit(large, "a");
        workshop.answer(0);
    }
    EXPECT_TRUE(workshop.workers.at(0).isReleased);
    submit(large, "b");
    workshop.workers.at(1).memory = 1001;
    workshop.answer(1);
    EXPECT_TRUE(workshop.workers.at(1).isReleased);
    EXPECT_EQ(answered.size(), 101U);
}

TEST_F(WorkerPoolTest, CancellingAJobFailsWhatHasNotBegun)
{
    for (const char* page : {"a", "b", "c", "d"}) submit(large, page);
    submit(small, "s");
    pool.cancel(large);
    queues.run();
    EXPECT_THAT(failed,
                ElementsAre(std::pair("c", Kind::cancelled), std::pair("d", Kind::cancelled)));
    for (const int worker : {0, 1, 0}) workshop.answer(worker);
    EXPECT_THAT(answered, ElementsAre("a", "b", "s"));
}

TEST_F(WorkerPoolTest, StoppingFailsEverythingAtOnceAndFromThenOn)
{
    for (const char* page : {"a", "b", "c"}) submit(large, page);
    auto future = pool.submit(small, {}, seconds(1));
    pool.stop();
    queues.run();
    submit(small, "later");
    EXPECT_EQ(failed.size(), 4U);
    for (const auto& [text, kind] : failed) EXPECT_EQ(kind, Kind::stopped) << text;
    EXPECT_EQ(future.get().error().kind, Kind::stopped);
    EXPECT_THAT(workshop.workers, IsEmpty());
}

TEST_F(WorkerPoolTest, ARequestBeyondTheBoundsOfAMessageIsNotSent)
{
    pool.submit(large, {.descriptors = std::vector<FileDescriptor>(5)}, seconds(1),
                [&](const WorkerAnswer& answer) { failed.emplace_back("", answer.error().kind); });
    queues.run();
    EXPECT_THAT(failed, ElementsAre(std::pair("", Kind::tooLarge)));
}

} // namespace
} // namespace korvane
