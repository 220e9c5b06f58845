#include "workerpool/JobBudget.h"

#include <gtest/gtest.h>

namespace korvane {
namespace {

using std::chrono::seconds;
using Kind = WorkerFailure::Kind;

const FailureBudget::Time start{};

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

TEST(JobBudget, GivesAPageAMinuteInAllHoweverOftenItIsTried)
{
    JobBudget budget;
    const WorkerRequest page{.limit = seconds(40), .page = 3};
    budget.noteSuccess(page, start, start + seconds(25));
    EXPECT_EQ(budget.limitOf(page).value(), seconds(35));
    budget.noteFailure(page, start + seconds(25), start + seconds(60));
    EXPECT_EQ(budget.limitOf(page).error().kind, Kind::timedOut);
    EXPECT_TRUE(budget.limitOf({.limit = seconds(40), .page = 4}));
}

TEST(JobBudget, IsGivenBackWhatOtherRequestsTook)
{
    JobBudget budget;
    const WorkerRequest step{.limit = seconds(20)};
    const WorkerRequest unconcerned{.limit = seconds(20), .reservedTime = seconds(20)};
    budget.noteFailure({.limit = seconds(40), .page = 0}, start, start + seconds(42));
    EXPECT_EQ(budget.limitOf(step).value(), seconds(12)) << "two thirds of what is left";
    budget.noteSuccess(step, start, start + seconds(3));
    EXPECT_EQ(budget.limitOf(step).value(), seconds(14));
    budget.noteSuccess(unconcerned, start, start + seconds(20));
    EXPECT_EQ(budget.limitOf(step).value(), seconds(14));
}

} // namespace
} // namespace korvane
