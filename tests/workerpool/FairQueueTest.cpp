#include "workerpool/FairQueue.h"

#include <gtest/gtest.h>

#include <string>

namespace korvane {

TEST(FairQueue, AJobEarnsNoCreditWhileItHasNothing)
{
    using std::chrono::milliseconds;
    FairQueue<std::string> queue;
    const JobKey first{1}, second{2};
    for (const char* item : {"a", "b", "c"}) queue.push(first, item);
    EXPECT_EQ(queue.pop(), "a");
    queue.finished(first, milliseconds(1000));
    for (const char* item : {"x", "y"}) queue.push(second, item);
    EXPECT_EQ(queue.pop(), "b");
    queue.finished(first, milliseconds(10));
    EXPECT_EQ(queue.pop(), "x");
    queue.finished(second, milliseconds(20));
    EXPECT_EQ(queue.pop(), "c") << "what was used before the second came does not count";
}

} // namespace korvane
