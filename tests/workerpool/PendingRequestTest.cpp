#include "workerpool/PendingRequest.h"

#include <gmock/gmock.h>

#include <vector>

namespace korvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = WorkerFailure::Kind;

class PendingRequestTest : public testing::Test {
protected:
    PendingPointer make(WorkerRequest request = {})
    {
        return std::make_shared<PendingRequest>(
            JobKey{1}, std::move(request),
            [this](const WorkerAnswer& answer) { failures.push_back(answer.error().kind); });
    }

    std::vector<Kind> failures;
};

TEST_F(PendingRequestTest, IsCompletedOnce)
{
    auto request = make();
    request->fail({Kind::timedOut});
    request->fail({Kind::crashed});
    request.reset();
    EXPECT_THAT(failures, ElementsAre(Kind::timedOut));
}

TEST_F(PendingRequestTest, FailsAsStoppedWhenItIsDropped)
{
    auto request = make();
    EXPECT_THAT(failures, IsEmpty());
    request.reset();
    EXPECT_THAT(failures, ElementsAre(Kind::stopped));
}

TEST_F(PendingRequestTest, IsTriedTwiceIfItCanBePrepared)
{
    EXPECT_FALSE(make({.beforeRetry = [] { return false; }})->prepareRetry());
    const auto request = make();
    EXPECT_TRUE(request->prepareRetry());
    EXPECT_FALSE(request->prepareRetry());
}

} // namespace
} // namespace korvane
