#include "platform/worker/WorkerPool.h"

#include "platform/worker/JobPatience.h"
#include "support/ManualQueues.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>
#include <new>
#include <string>
#include <utility>

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
        bool hasEnded = false;
        std::size_t memory = 0;
    };

    /** Those that live, by the order of their start. */
    std::map<int, State> workers;
    int started = 0;
    bool canStart = true;
    /** The requests in the order in which they began. */
    std::vector<std::string> begun;

    void answer(int worker)
    {
        State& state = workers.at(worker);
        const auto answered = state.events.answered;
        answered({.payload = Data::copying(std::exchange(state.request, ""))});
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

    void send(WorkerMessage request) override
    {
        state().request = request.code == 0 ? request.payload.text() : std::to_string(request.code);
        workshop_.begun.push_back(state().request);
    }
    void release() override { state().isReleased = true; }
    void kill() override { state().isKilled = true; }
    bool hasEnded() const override { return workshop_.workers.at(number_).hasEnded; }
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
        submit(job, text, seconds(10), seconds(10));
    }

    void submit(JobKey job, const std::string& text, seconds limit, seconds granted)
    {
        pool.submit(job,
                    {.message = {.payload = Data::copying(text)},
                     .limit = limit,
                     .granted = granted,
                     .workTime = workTime},
                    [this, text](const WorkerAnswer& answer) {
                        if (answer) {
                            answered.emplace_back(answer->payload.text());
                        } else {
                            failed.emplace_back(text, answer.error().kind);
                        }
                    });
        queues.run();
    }

    /** One that is worth less once others of its job have failed. */
    void submitStep(const std::string& text) { submit(large, text, seconds(20), seconds(0)); }

    std::vector<std::string> failedAs(Kind kind) const
    {
        std::vector<std::string> texts;
        for (const auto& [text, reason] : failed)
            if (reason == kind) texts.push_back(text);
        return texts;
    }

    ManualQueues queues;
    Workshop workshop;
    std::vector<std::string> answered;
    std::vector<std::pair<std::string, Kind>> failed;
    std::shared_ptr<WorkTime> workTime = std::make_shared<WorkTime>();
    WorkerPool pool{queues, std::make_unique<WorkshopLauncher>(workshop),
                    WorkerPoolLimits{.workers = 2, .requests = 100, .memory = 1000}};
    const JobKey large = pool.makeJob();
    const JobKey small = pool.makeJob();
};

TEST_F(WorkerPoolTest, JobsShareTheWorkersAndTheirTimeEvenly)
{
    using Texts = std::vector<std::string>;
    struct Case {
        const char* name;
        /** By their jobs' letters. */
        Texts requests;
        /** How long each of a job takes. */
        std::map<char, int> takes;
        Texts begun;
    };
    const Case cases[] = {
        {"a large job lets a small one in",
         {"a1", "a2", "a3", "a4", "a5", "b1", "b2"},
         {{'a', 2}, {'b', 2}},
         {"a1", "a2", "b1", "a3", "b2", "a4", "a5"}},
        {"slow requests take no more time than quick ones",
         {"a1", "a2", "a3", "a4", "b1", "b2", "b3", "b4", "b5", "c1", "c2", "c3"},
         {{'a', 9}, {'b', 3}, {'c', 4}},
         {"a1", "a2", "b1", "c1", "b2", "c2", "b3", "c3", "b4", "b5", "a3", "a4"}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        workshop.begun.clear();
        std::map<char, JobKey> jobs;
        for (const char name : {'a', 'b', 'c'}) jobs[name] = pool.makeJob();
        for (const std::string& text : each.requests) submit(jobs[text[0]], text);
        for (std::map<int, int> working; answered.size() < each.requests.size();) {
            queues.advance(seconds(1));
            for (const int worker : {0, 1}) {
                const std::string& text = workshop.workers.at(worker).request;
                if (text.empty() || ++working[worker] < each.takes.at(text[0])) continue;
                working[worker] = 0;
                workshop.answer(worker);
            }
        }
        EXPECT_EQ(workshop.begun, each.begun);
        answered.clear();
    }
    EXPECT_EQ(workshop.started, 2);
    EXPECT_EQ(workTime->total(), seconds(7 * 2 + 4 * 9 + 5 * 3 + 3 * 4));
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
    for (const char* page : {"a", "b"}) submit(large, page);
    for (const int worker : {0, 1}) workshop.answer(worker);
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

TEST_F(WorkerPoolTest, HangingStepsOfAJobTakeHalfAMinuteInAll)
{
    for (const char* page : {"a", "b", "c", "d", "e", "f"}) submitStep(page);
    submit(large, "write", seconds(20), seconds(5));
    workshop.answer(0);
    queues.advance(seconds(19));
    workshop.answer(1); // so that "d" begins late
    queues.advance(seconds(5));
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("c")) << "after 20 s";
    EXPECT_EQ(workshop.begun.back(), "e");
    queues.advance(seconds(1));
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("c", "d")) << "5 s were left then";
    EXPECT_TRUE(workshop.workers.at(2).isKilled);
    submitStep("g");
    EXPECT_THAT(failedAs(Kind::cancelled), ElementsAre("e", "f", "g"));
    EXPECT_EQ(workshop.begun.back(), "write");
    queues.advance(seconds(4));
    workshop.answer(3);
    EXPECT_THAT(answered, ElementsAre("a", "b", "write"));
    submit(small, "other", seconds(20), seconds(0));
    workshop.answer(3);
    EXPECT_EQ(answered.back(), "other");
}

TEST_F(WorkerPoolTest, AJobThatBringsDownWorkerAfterWorkerIsGivenUp)
{
    for (int page = 0; page < 20; ++page) submitStep("page");
    for (int worker = 0; worker < 16; ++worker) workshop.end(worker, {Kind::crashed, 11});
    EXPECT_EQ(failedAs(Kind::crashed).size(), 16U);
    EXPECT_EQ(failedAs(Kind::cancelled).size(), 4U);
}

TEST(JobPatience, CountsTimeWastedSideBySideOnce)
{
    struct Case {
        std::vector<std::pair<int, int>> wasted;
        int left;
    };
    const Case cases[] = {
        {{}, 25},       {{{0, 20}, {0, 20}}, 5},         {{{10, 15}, {0, 20}}, 5},
        {{{0, 30}}, 0}, {{{0, 2}, {5, 8}, {9, 10}}, 19}, {{{0, 2}, {5, 8}, {1, 10}}, 15},
    };
    const JobPatience::Time start{};
    for (const Case& each : cases) {
        JobPatience patience;
        for (const auto& [from, until] : each.wasted)
            patience.noteFailure(start + seconds(from), start + seconds(until), true);
        EXPECT_EQ(patience.left(), seconds(each.left));
        EXPECT_EQ(patience.isUsedUp(), each.left == 0);
    }
}

TEST_F(WorkerPoolTest, EndingAJobFreesItsWorkersAndHasThemForgetIt)
{
    submitStep("a");
    submitStep("b");
    submit(small, "s", seconds(20), seconds(0));
    submitStep("c");
    workshop.answer(0);
    workshop.answer(0);
    EXPECT_THAT(workshop.begun, ElementsAre("a", "b", "s", "c"));
    workshop.answer(1);
    pool.end(large, 7);
    queues.run();
    EXPECT_THAT(failed, ElementsAre(std::pair("c", Kind::cancelled)));
    EXPECT_TRUE(workshop.workers.at(0).isKilled);
    EXPECT_EQ(workshop.workers.at(1).request, "7");
    workshop.answer(1);
    pool.end(large, 7);
    pool.end(small, 7);
    queues.run();
    EXPECT_EQ(workshop.begun.size(), 5U) << "nobody holds anything";
}

TEST_F(WorkerPoolTest, NothingIsGivenToAWorkerThatHasDiedInItsSleep)
{
    submit(large, "a");
    workshop.answer(0);
    workshop.workers.at(0).hasEnded = true;
    submit(large, "b");
    EXPECT_EQ(workshop.workers.at(1).request, "b");
    workshop.end(0, {Kind::crashed, 9});
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(WorkerPoolTest, ACompletionThatThrowsHoldsUpNobody)
{
    pool.submit(large, {}, seconds(10), [](const WorkerAnswer&) { throw std::bad_alloc(); });
    for (const char* page : {"a", "b"}) submit(large, page);
    for (const int worker : {0, 0, 1}) workshop.answer(worker);
    EXPECT_THAT(answered, ElementsAre("b", "a"));
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

TEST_F(WorkerPoolTest, ARequestThatIsNoMessageIsNotSent)
{
    pool.submit(large, {.descriptors = {nullptr}}, seconds(1),
                [&](const WorkerAnswer& answer) { failed.emplace_back("", answer.error().kind); });
    queues.run();
    EXPECT_THAT(failed, ElementsAre(std::pair("", Kind::tooLarge)));
}

} // namespace
} // namespace korvane
