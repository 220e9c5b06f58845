#include "workerpool/WorkerSlot.h"

#include "Workshop.h"
#include "support/ManualQueues.h"

#include <gmock/gmock.h>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WorkerFailure::Kind;

class WorkerSlotTest : public testing::Test {
protected:
    WorkerSlotTest() { static_cast<void>(slot.launch(launcher)); }

    static PendingPointer request(JobKey job, std::string_view text,
                                  std::optional<std::uint64_t> page = std::nullopt)
    {
        return std::make_shared<PendingRequest>(
            job,
            WorkerRequest{
                .message = {.payload = Data::copying(text)}, .limit = seconds(20), .page = page},
            nullptr);
    }

    void note(const std::optional<WorkerSlot::Outcome>& outcome)
    {
        if (!outcome) return outcomes.push_back("nothing");
        outcomes.push_back(outcome->answer ? std::string(outcome->answer->payload.text())
                                           : outcome->answer.error().description());
    }

    Workshop::State& worker() { return workshop.workers.at(0); }
    const Workshop::State& worker() const { return workshop.workers.at(0); }

    ManualQueues queues;
    const std::shared_ptr<SerialQueue> queue = queues.makeSerial("workers");
    Workshop workshop;
    WorkshopLauncher launcher{workshop};
    std::vector<std::string> outcomes;
    bool hasEnded = false;
    WorkerSlot slot{*queue,
                    {.requests = 3, .memory = 1000},
                    {.finished = [this](const auto& outcome) { note(outcome); },
                     .ended =
                         [this](const auto& outcome) {
                             note(outcome);
                             hasEnded = true;
                         }}};
    const JobKey job{1};
    const JobKey other{2};
};

TEST_F(WorkerSlotTest, GivesAWorkerThatHardlyRunsMoreTime)
{
    slot.begin(request(job, "a"), seconds(20));
    worker().isStarved = true;
    worker().processorTime += seconds(8);
    queues.advance(seconds(20));
    EXPECT_THAT(outcomes, IsEmpty());
    worker().processorTime += seconds(7);
    queues.advance(seconds(12));
    EXPECT_THAT(outcomes, IsEmpty());
    worker().processorTime += seconds(5);
    queues.advance(seconds(5));
    EXPECT_THAT(outcomes, ElementsAre("the worker took too long"));
}

TEST_F(WorkerSlotTest, HasTheDocumentReleasedWhenItsJobEndsAndTheWorkerIsIdle)
{
    slot.begin(request(job, "page"), seconds(20));
    workshop.answer(0);
    slot.release(other, 7);
    EXPECT_EQ(workshop.begun.back(), "page") << "it holds no document of that job";
    // About no document.
    slot.begin(std::make_shared<PendingRequest>(
                   other,
                   WorkerRequest{.message = {.payload = Data::copying("list")},
                                 .limit = seconds(20),
                                 .reservedTime = seconds(20)},
                   nullptr),
               seconds(20));
    slot.release(job, 7);
    EXPECT_EQ(workshop.begun.back(), "list");
    workshop.answer(0);
    EXPECT_EQ(workshop.begun.back(), "7");
    EXPECT_FALSE(slot.isIdle());
    slot.release(job, 7);
    EXPECT_THAT(workshop.begun, ElementsAre("page", "list", "7"));
    queues.advance(seconds(2));
    EXPECT_TRUE(worker().isKilled) << "it did not answer";
}

TEST_F(WorkerSlotTest, RetiresWhenIdleForLongOrWornByRequestsOrMemory)
{
    struct Case {
        const char* name;
        int requests;
        std::size_t memory;
        seconds hasRun;
        seconds idle;
        bool retires;
    };
    const Case cases[] = {
        {"few requests", 2, 1000, seconds(0), seconds(59), false},
        {"many requests", 3, 0, seconds(0), seconds(0), true},
        {"much memory", 1, 1001, seconds(0), seconds(0), true},
        {"much processor time", 1, 0, seconds(30 * 60), seconds(0), true},
        {"a minute without requests", 1, 0, seconds(0), seconds(60), true},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        WorkerSlot tried(*queue, {.requests = 3, .memory = 1000},
                         {.finished = [](const auto&) {}, .ended = [](const auto&) {}});
        ASSERT_TRUE(tried.launch(launcher));
        const int number = workshop.started - 1;
        workshop.workers.at(number).memory = each.memory;
        workshop.workers.at(number).processorTime = each.hasRun;
        for (int served = 0; served < each.requests; ++served) {
            tried.begin(request(job, "a"), seconds(20));
            workshop.answer(number);
        }
        queues.advance(each.idle);
        EXPECT_EQ(workshop.workers.at(number).isReleased, each.retires);
        EXPECT_EQ(tried.isActive(), !each.retires);
        if (!each.retires) continue;
        queues.advance(seconds(5));
        EXPECT_TRUE(workshop.workers.at(number).isKilled) << "it has not exited";
    }
}

} // namespace
} // namespace korvane
