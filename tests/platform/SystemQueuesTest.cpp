#include "platform/queue/SystemQueues.h"

#include "support/RecordingLog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class SystemQueuesTest : public testing::Test {
protected:
    RecordingLog log;
    SystemQueues queues{log};
};

TEST_F(SystemQueuesTest, ASerialQueueRunsItsTasksInOrderOneAtATime)
{
    const auto queue = queues.makeSerial("test");
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i) queue->async([&order, i] { order.push_back(i); });
    queue->sync([&] { EXPECT_TRUE(queue->isCurrent()); });
    EXPECT_FALSE(queue->isCurrent());
    ASSERT_EQ(order.size(), 1000U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_F(SystemQueuesTest, SyncWorksFromTheQueueItselfAndFromAnother)
{
    const auto outer = queues.makeSerial("outer");
    const auto inner = queues.makeSerial("inner");
    int reached = 0;
    outer->sync([&] { outer->sync([&] { inner->sync([&] { ++reached; }); }); });
    EXPECT_EQ(reached, 1);
}

TEST_F(SystemQueuesTest, DelayedTasksRunByTheirTimeUnlessCancelledOnTheQueue)
{
    const auto queue = queues.makeSerial("test");
    std::vector<int> order;
    std::promise<void> done;
    std::unique_ptr<DelayedTask> late;
    std::unique_ptr<DelayedTask> early;
    std::unique_ptr<DelayedTask> cancelled;
    queue->sync([&] {
        late = queue->after(milliseconds(30), [&] {
            order.push_back(2);
            done.set_value();
        });
        cancelled = queue->after(milliseconds(0), [&] { order.push_back(9); });
        early = queue->after(milliseconds(1), [&] { order.push_back(1); });
        // Its time has come by then, but it was cancelled first.
        std::this_thread::sleep_for(milliseconds(2));
        cancelled.reset();
    });
    done.get_future().wait();
    EXPECT_THAT(order, ElementsAre(1, 2));
    queue->sync([&] { late.reset(), early.reset(); });
}

TEST_F(SystemQueuesTest, AWatchTellsOnceForEachRequest)
{
    const auto queue = queues.makeSerial("test");
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
    std::atomic<int> told = 0;
    std::unique_ptr<DescriptorWatch> watch;
    std::promise<void> first;
    queue->sync([&] {
        watch = queue->watch(ends[0]);
        watch->whenReadable([&] {
            ++told;
            first.set_value();
        });
    });
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    first.get_future().wait();
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    std::promise<void> second;
    queue->sync([&] {
        EXPECT_EQ(told, 1);
        watch->whenReadable([&] { second.set_value(); });
    });
    second.get_future().wait();
    queue->sync([&] { watch.reset(); });
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(SystemQueuesTest, AQueueMayBeDroppedByItsOwnLastTask)
{
    std::promise<void> done;
    {
        auto queue = queues.makeSerial("test");
        SerialQueue& reference = *queue;
        reference.async([&done, queue = std::move(queue)]() mutable {
            queue.reset();
            done.set_value();
        });
    }
    done.get_future().wait();
}

TEST_F(SystemQueuesTest, ATaskThatRunsOutOfMemoryCostsItselfOnly)
{
    const auto queue = queues.makeSerial("test");
    queue->async([] { throw std::bad_alloc(); });
    bool ran = false;
    queue->sync([&] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_THAT(log.errors(), ElementsAre("KorvaneAgent: a task failed: std::bad_alloc"));
}

TEST_F(SystemQueuesTest, MainServesUntilItIsStopped)
{
    std::vector<int> order;
    queues.main().async([&] { order.push_back(1); });
    queues.main().async([&] {
        order.push_back(2);
        queues.stopMain();
    });
    queues.runMain();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(SystemQueuesEnd, WaitsForEveryBackgroundTaskAndRunsSeveralAtOnce)
{
    RecordingLog log;
    std::atomic<int> finished = 0;
    {
        SystemQueues queues(log);
        std::promise<void> secondRuns;
        std::shared_future<void> signal = secondRuns.get_future().share();
        queues.background().async([&finished, signal] {
            signal.wait();
            ++finished;
        });
        queues.background().async([&] { secondRuns.set_value(); });
        for (int i = 0; i < 50; ++i) queues.background().async([&] { ++finished; });
        signal.wait();
    }
    EXPECT_EQ(finished, 51);
}

} // namespace
} // namespace korvane
