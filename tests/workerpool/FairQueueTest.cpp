#include "workerpool/FairQueue.h"

#include <gmock/gmock.h>

#include <string>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class FairQueueTest : public testing::Test {
protected:
    void push(JobKey job, std::initializer_list<const char*> items)
    {
        for (const char* item : items) queue.push(job, item);
    }

    FairQueue<std::string> queue;
    const JobKey first{1};
    const JobKey second{2};
};

TEST_F(FairQueueTest, GivesTheJobWithTheFewestRunningItsTurn)
{
    push(first, {"a", "b", "c"});
    push(second, {"x"});
    EXPECT_EQ(queue.pop(), "a");
    EXPECT_EQ(queue.pop(), "x");
    EXPECT_EQ(queue.pop(), "b");
    EXPECT_EQ(queue.pop(), "c");
    EXPECT_TRUE(queue.empty());
}

TEST_F(FairQueueTest, GivesTheJobThatUsedTheLeastTimeItsTurn)
{
    push(first, {"a", "b"});
    push(second, {"x", "y", "z"});
    EXPECT_EQ(queue.pop(), "a");
    queue.finished(first, milliseconds(30));
    for (const char* item : {"x", "y"}) {
        EXPECT_EQ(queue.pop(), item);
        queue.finished(second, milliseconds(20));
    }
    EXPECT_EQ(queue.pop(), "b");
}

TEST_F(FairQueueTest, AJobEarnsNoCreditWhileItHasNothing)
{
    push(first, {"a", "b", "c"});
    EXPECT_EQ(queue.pop(), "a");
    queue.finished(first, milliseconds(1000));
    push(second, {"x", "y"});
    EXPECT_EQ(queue.pop(), "b");
    queue.finished(first, milliseconds(10));
    EXPECT_EQ(queue.pop(), "x");
    queue.finished(second, milliseconds(20));
    EXPECT_EQ(queue.pop(), "c") << "what was used before the second came does not count";
}

TEST_F(FairQueueTest, RemovesWhatWaitsForAJob)
{
    push(first, {"a", "b", "c"});
    push(second, {"x"});
    EXPECT_EQ(queue.pop(), "a");
    EXPECT_THAT(queue.remove(first), ElementsAre("b", "c"));
    EXPECT_THAT(queue.remove(first), IsEmpty());
    EXPECT_THAT(queue.remove(JobKey{3}), IsEmpty());
    queue.finished(first, milliseconds(1));
    EXPECT_EQ(queue.pop(), "x");
    EXPECT_TRUE(queue.empty());
}

} // namespace
} // namespace korvane
