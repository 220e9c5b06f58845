#include "workerpool/JobBudget.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Kind = WorkerFailure::Kind;

const FailureBudget::Time start{};

TEST(FailureBudget, CountsTimeLostSideBySideOnce)
{
    struct Case {
        std::vector<std::pair<int, int>> lost;
        int left;
    };
    const Case cases[] = {
        {{}, 60},
        {{{0, 20}, {0, 20}}, 40},
        {{{10, 15}, {0, 20}}, 40},
        {{{0, 70}}, 0},
        {{{0, 2}, {5, 8}, {9, 10}}, 54},
        {{{0, 2}, {5, 8}, {1, 10}}, 50},
        {{{0, 20}, {10, 40}, {35, 56}}, 4},
    };
    for (const Case& each : cases) {
        FailureBudget budget;
        for (const auto& [from, until] : each.lost)
            budget.noteFailure(start + seconds(from), start + seconds(until));
        EXPECT_EQ(budget.left(), seconds(each.left));
        EXPECT_EQ(budget.isUsedUp(), each.left < 5);
    }
}

TEST(FailureBudget, IsFilledAgainByRequestsThatSucceed)
{
    FailureBudget budget;
    budget.noteFailure(start, start + seconds(58));
    EXPECT_TRUE(budget.isUsedUp());
    budget.noteSuccess(seconds(10));
    EXPECT_EQ(budget.left(), seconds(12));
    budget.noteSuccess(seconds(1000));
    EXPECT_EQ(budget.left(), seconds(60));
}

/** A job on a clock of its own, one request after the other. */
class JobBudgetTest : public testing::Test {
protected:
    static WorkerRequest page(std::uint64_t number)
    {
        return {.limit = seconds(40), .page = number};
    }

    void succeed(const WorkerRequest& request, milliseconds time)
    {
        budget.noteSuccess(request, now, now + time);
        now += time;
    }

    /** The request takes all that it may, and its timer fires so late. */
    void hang(const WorkerRequest& request, milliseconds late = milliseconds(0))
    {
        const milliseconds time = limit(request) + late;
        budget.noteFailure(request, now, now + time);
        now += time;
    }

    /** In milliseconds, or none. */
    milliseconds limit(const WorkerRequest& request) const
    {
        return budget.limitOf(request).value_or(milliseconds(0));
    }

    std::optional<Kind> refusal(const WorkerRequest& request) const
    {
        const auto found = budget.limitOf(request);
        return found ? std::nullopt : std::optional(found.error().kind);
    }

    JobBudget budget;
    JobBudget::Time now{};
    const WorkerRequest step{.limit = seconds(20)};
    const WorkerRequest writing{.limit = seconds(30), .reservedTime = seconds(8)};
    const WorkerRequest unconcerned{.limit = seconds(20), .reservedTime = seconds(20)};
};

TEST_F(JobBudgetTest, APageGetsAMinuteInAllHoweverOftenItIsTried)
{
    succeed(page(3), seconds(25));
    EXPECT_EQ(limit(page(3)), seconds(35));
    hang(page(3));
    EXPECT_EQ(refusal(page(3)), Kind::timedOut);
    EXPECT_FALSE(refusal(page(4)));
}

TEST_F(JobBudgetTest, OtherRequestsGiveBackWhatTheyTook)
{
    hang(page(0));
    const milliseconds before = limit(writing);
    succeed(step, seconds(3));
    EXPECT_EQ(limit(writing) - before, seconds(2)) << "two thirds of 3 s";
    succeed(unconcerned, seconds(20));
    EXPECT_EQ(limit(writing) - before, seconds(2));
}

} // namespace
} // namespace korvane
