#include "workerpool/WorkerPool.h"

#include "Workshop.h"
#include "support/ManualQueues.h"

#include <gmock/gmock.h>

#include <map>
#include <new>
#include <string>
#include <utility>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WorkerFailure::Kind;

class WorkerPoolTest : public testing::Test {
protected:
    void submit(JobKey job, const std::string& text)
    {
        submit(job, text, seconds(10), seconds(10));
    }

    void submit(JobKey job, const std::string& text, seconds limit, seconds reservedTime)
    {
        submit(job, text, {.limit = limit, .reservedTime = reservedTime});
    }

    void submit(JobKey job, const std::string& text, WorkerRequest request)
    {
        request.message.payload = Data::copying(text);
        pool.submit(job, std::move(request), [this, text](const WorkerAnswer& answer) {
            if (answer) {
                answered.emplace_back(answer->payload.text());
            } else {
                failed.emplace_back(text, answer.error().kind);
            }
        });
        queues.run();
    }

    /** A step, whose limit the failures of others of its job shorten. */
    void submitStep(const std::string& text) { submit(large, text, seconds(20), seconds(0)); }

    /** Has a page recognized. */
    void submitPage(std::uint64_t page)
    {
        submit(large, std::to_string(page), {.limit = seconds(40), .page = page});
    }

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
}

TEST_F(WorkerPoolTest, ARequestWhoseWorkerDiesIsTriedOnceMoreInANewOne)
{
    const WorkerFailure deaths[] = {
        {Kind::crashed, 11}, {Kind::exited, 3}, {Kind::outOfMemory}, {Kind::invalidResponse}};
    for (const WorkerFailure& death : deaths) {
        SCOPED_TRACE(death.description());
        workshop.begun.clear();
        failed.clear();
        answered.clear();
        const int first = workshop.started;
        for (const char* page : {"a", "b", "c"}) submit(large, page);
        workshop.end(first, death);
        EXPECT_THAT(failed, IsEmpty());
        EXPECT_THAT(workshop.begun, ElementsAre("a", "b", "a"));
        workshop.end(first + 2, death);
        EXPECT_THAT(failed, ElementsAre(std::pair("a", death.kind)));
        EXPECT_EQ(workshop.workers.at(first + 3).request, "c");
        // One that dies of the first try only costs nothing.
        workshop.end(first + 1, death);
        workshop.answer(first + 4);
        workshop.answer(first + 3);
        EXPECT_THAT(answered, ElementsAre("b", "c"));
        // No request waits: an idle worker is not replaced.
        for (const int idle : {first + 3, first + 4}) workshop.end(idle, death);
        EXPECT_EQ(workshop.started, first + 5);
    }
}

TEST_F(WorkerPoolTest, ARequestIsTriedOnceMoreOnlyIfItCanBePreparedAgain)
{
    for (const bool canBePrepared : {true, false}) {
        failed.clear();
        int prepared = 0;
        const int first = workshop.started;
        submit(large, "write", {.limit = seconds(10), .beforeRetry = [&] {
                                    EXPECT_FALSE(workshop.begun.empty());
                                    ++prepared;
                                    return canBePrepared;
                                }});
        EXPECT_EQ(prepared, 0);
        workshop.crash(first);
        EXPECT_EQ(prepared, 1);
        EXPECT_EQ(failed.size(), canBePrepared ? 0U : 1U);
        if (canBePrepared) workshop.crash(first + 1);
        EXPECT_EQ(prepared, 1);
    }
}

TEST_F(WorkerPoolTest, ARequestWhoseWorkerDiesKeepsItsFailureWhenNoOtherStarts)
{
    submit(large, "a");
    workshop.canStart = false;
    workshop.crash(0);
    EXPECT_THAT(failed, ElementsAre(std::pair("a", Kind::crashed)));
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
    EXPECT_EQ(failed.size(), 1U) << "it is not tried again";
}

TEST_F(WorkerPoolTest, ARetiredWorkerIsReplacedForTheNextRequest)
{
    submit(large, "a");
    workshop.workers.at(0).memory = 1001;
    workshop.answer(0);
    EXPECT_TRUE(workshop.workers.at(0).isReleased);
    for (const char* page : {"b", "c"}) submit(large, page);
    EXPECT_EQ(workshop.workers.at(1).request, "b");
    EXPECT_EQ(workshop.workers.at(2).request, "c");
    workshop.end(0, {Kind::exited, 0});
    EXPECT_EQ(workshop.started, 3);
}

TEST_F(WorkerPoolTest, RequestsGoToTheWorkerThatHasWhatTheyNeed)
{
    submitPage(1);
    submitPage(2);
    for (const int worker : {0, 1}) workshop.answer(worker);
    submitPage(2);
    EXPECT_EQ(workshop.workers.at(1).request, "2");
    submit(small, "other", seconds(20), seconds(0));
    workshop.answer(0);
    workshop.answer(1);
    submit(small, "other", seconds(20), seconds(0));
    EXPECT_EQ(workshop.workers.at(0).request, "other");
}

TEST_F(WorkerPoolTest, AJobLosesNoMoreThanTheLimitOfARequestWhoseWorkerHardlyRan)
{
    submitPage(0);
    workshop.workers.at(0).isStarved = true;
    queues.advance(seconds(80));
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("0"));
    submitPage(1);
    EXPECT_EQ(workshop.workers.rbegin()->second.limit, milliseconds(13'333))
        << "two thirds of 20 s";
}

TEST_F(WorkerPoolTest, AJobInWhichEveryRequestHangsIsEndedWithinAMinute)
{
    submitPage(0);
    submitPage(1);
    for (const char* step : {"a", "b", "c", "d", "e", "f"}) submitStep(step);
    submit(large, "write", seconds(20), seconds(6));
    queues.advance(seconds(40));
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("0", "1")) << "side by side";
    EXPECT_EQ(workshop.workers.size(), 4U);
    EXPECT_EQ(workshop.workers.at(2).limit, milliseconds(13'333)) << "two thirds of 20 s";
    queues.advance(seconds(20));
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("0", "1", "a", "b", "c"));
    EXPECT_THAT(failedAs(Kind::overBudget), ElementsAre("d", "e", "f"));
    submitStep("g");
    EXPECT_EQ(failedAs(Kind::overBudget).back(), "g");
    EXPECT_EQ(workshop.begun.back(), "write");
    EXPECT_EQ(workshop.workers.rbegin()->second.limit, seconds(6));
    workshop.answer(workshop.started - 1);
    EXPECT_THAT(answered, ElementsAre("write"));
    submit(small, "other", seconds(20), seconds(0));
    EXPECT_EQ(workshop.begun.back(), "other") << "another job is not affected";
}

TEST_F(WorkerPoolTest, RunningRequestsGetNoMoreThanWhatOthersHaveLeft)
{
    submitPage(0);
    queues.advance(seconds(30));
    submitPage(1);
    queues.advance(seconds(10)); // the first hangs, 20 s are left
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("0"));
    queues.advance(seconds(14)); // a third of a second more than two thirds of them
    EXPECT_THAT(failedAs(Kind::timedOut), ElementsAre("0", "1"));
}

TEST_F(WorkerPoolTest, PagesThatHangAmongOthersCostNoOther)
{
    for (std::uint64_t page = 0; page < 40; ++page) {
        submitPage(page);
        if (page % 2 == 0) {
            queues.advance(seconds(40));
            workshop.crash(workshop.started - 1);
        } else {
            workshop.answer(workshop.started - 1);
        }
    }
    EXPECT_EQ(failedAs(Kind::timedOut).size(), 20U);
    EXPECT_EQ(answered.size(), 20U);
}

TEST_F(WorkerPoolTest, EndingAJobFreesItsWorkersAndHasThemReleaseIt)
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
    EXPECT_EQ(workshop.begun.size(), 5U) << "no worker holds anything";
}

TEST_F(WorkerPoolTest, AWorkerThatHasExitedGetsNoRequest)
{
    submit(large, "a");
    workshop.answer(0);
    workshop.workers.at(0).hasEnded = true;
    submit(large, "b");
    EXPECT_EQ(workshop.workers.at(1).request, "b");
    workshop.end(0, {Kind::crashed, 9});
    EXPECT_THAT(failed, IsEmpty());
}

TEST_F(WorkerPoolTest, ACompletionThatThrowsDoesNotAffectOthers)
{
    pool.submit(large, {}, seconds(10), [](const WorkerAnswer&) { throw std::bad_alloc(); });
    for (const char* page : {"a", "b"}) submit(large, page);
    for (const int worker : {0, 0, 1}) workshop.answer(worker);
    EXPECT_THAT(answered, ElementsAre("b", "a"));
}

TEST_F(WorkerPoolTest, StoppingFailsEverythingAtOnceAndFromThenOn)
{
    for (const char* page : {"a", "b", "c"}) submit(large, page);
    pool.stop();
    queues.run();
    submit(small, "later");
    EXPECT_EQ(failed.size(), 4U);
    for (const auto& [text, kind] : failed) EXPECT_EQ(kind, Kind::stopped) << text;
    EXPECT_THAT(workshop.workers, IsEmpty());
}

TEST_F(WorkerPoolTest, ARequestBeyondTheBoundsOfAMessageIsNotSent)
{
    pool.submit(large, {.descriptors = {nullptr}}, seconds(1),
                [&](const WorkerAnswer& answer) { failed.emplace_back("", answer.error().kind); });
    queues.run();
    EXPECT_THAT(failed, ElementsAre(std::pair("", Kind::tooLarge)));
}

} // namespace
} // namespace korvane
