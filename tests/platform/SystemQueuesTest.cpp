#include "platform/queue/SystemQueues.h"

#include "support/RecordingLog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <future>
#include <new>
#include <numeric>
#include <thread>

namespace korvane {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class SystemQueuesTest : public testing::Test {
protected:
    RecordingLog log;
    SystemQueues queues{log};
    std::shared_ptr<SerialQueue> queue = queues.makeSerial("test");
    std::vector<int> order;
};

TEST_F(SystemQueuesTest, ASerialQueueRunsItsTasksInOrderOneAtATime)
{
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    for (const int i : expected) queue->async([this, i] { order.push_back(i); });
    queue->sync([&] { EXPECT_TRUE(queue->isCurrent()); });
    EXPECT_FALSE(queue->isCurrent());
    EXPECT_EQ(order, expected);
}

TEST_F(SystemQueuesTest, SyncWorksFromTheQueueItselfAndFromAnother)
{
    const auto inner = queues.makeSerial("inner");
    queue->sync([&] { queue->sync([&] { inner->sync([&] { order.push_back(1); }); }); });
    EXPECT_THAT(order, ElementsAre(1));
}

TEST_F(SystemQueuesTest, DelayedTasksRunByTheirTimeUnlessCancelledOnTheQueue)
{
    std::promise<void> done;
    std::array<std::unique_ptr<DelayedTask>, 3> tasks;
    queue->sync([&] {
        tasks[0] = queue->after(milliseconds(30), [&] {
            order.push_back(2);
            done.set_value();
        });
        tasks[1] = queue->after(milliseconds(0), [&] { order.push_back(9); });
        tasks[2] = queue->after(milliseconds(1), [&] { order.push_back(1); });
        // Its time has come by then, but it was cancelled first.
        std::this_thread::sleep_for(milliseconds(2));
        tasks[1].reset();
    });
    done.get_future().wait();
    EXPECT_THAT(order, ElementsAre(1, 2));
    queue->sync([&] { tasks = {}; });
}

TEST_F(SystemQueuesTest, AWatchTellsOnceForEachRequest)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
    std::atomic<int> told = 0;
    std::unique_ptr<DescriptorWatch> watch;
    for (int round = 1; round <= 2; ++round) {
        std::promise<void> readable;
        queue->sync([&] {
            if (!watch) watch = queue->watch(ends[0]);
            watch->whenReadable([&] {
                ++told;
                readable.set_value();
            });
        });
        ASSERT_EQ(::write(ends[1], "x", 1), 1);
        readable.get_future().wait();
        ASSERT_EQ(::write(ends[1], "x", 1), 1);
        queue->sync([&] { EXPECT_EQ(told, round); });
    }
    queue->sync([&] { watch.reset(); });
    for (const int end : ends) ::close(end);
}

TEST_F(SystemQueuesTest, AQueueMayBeDroppedByItsOwnLastTask)
{
    std::promise<void> done;
    SerialQueue& reference = *queue;
    reference.async([&done, last = std::move(queue)]() mutable {
        last.reset();
        done.set_value();
    });
    done.get_future().wait();
}

TEST_F(SystemQueuesTest, ATaskThatRunsOutOfMemoryCostsItselfOnly)
{
    queue->async([] { throw std::bad_alloc(); });
    queue->sync([&] { order.push_back(1); });
    EXPECT_THAT(order, ElementsAre(1));
    EXPECT_THAT(log.errors(), ElementsAre("KorvaneAgent: a task failed: std::bad_alloc"));
}

TEST(SystemQueuesEnd, BackgroundTasksThatWaitDoNotHoldUpOthersAndTheirThreadsGoWithTheWork)
{
    RecordingLog log;
    SystemQueues queues(log);
    for (int round = 0; round < 20; ++round) {
        std::promise<void> last;
        const std::shared_future<void> done = last.get_future().share();
        std::atomic<int> waited = 0;
        for (int i = 0; i < 40; ++i) {
            queues.background().async([&, done] {
                done.wait();
                if (++waited == 40) waited.notify_one();
            });
        }
        queues.background().async([&] { last.set_value(); });
        for (int seen = 0; seen < 40; seen = waited) waited.wait(seen);
    }
}

TEST(SystemQueuesEnd, WaitsForEveryBackgroundTaskAndRunsSeveralAtOnce)
{
    RecordingLog log;
    std::atomic<int> finished = 0;
    std::promise<void> secondRuns;
    {
        SystemQueues queues(log);
        queues.background().async([&] {
            secondRuns.get_future().wait();
            ++finished;
        });
        queues.background().async([&] { secondRuns.set_value(); });
        for (int i = 0; i < 50; ++i) queues.background().async([&] { ++finished; });
    }
    EXPECT_EQ(finished, 51);
}

} // namespace
} // namespace korvane
