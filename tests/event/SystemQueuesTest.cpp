#include "event/SystemQueues.h"

#include "support/RecordingLog.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

namespace {

/** The one that fails is the last of so many allocations on this thread; none when 0. */
thread_local int allocationsLeft = 0;

void* allocate(std::size_t size, std::size_t alignment)
{
    void* memory = nullptr;
    if (allocationsLeft > 0 && --allocationsLeft == 0) return nullptr;
    return ::posix_memalign(&memory, alignment, size) == 0 ? memory : nullptr;
}

} // namespace

void* operator new(std::size_t size)
{
    void* memory = allocate(size, alignof(std::max_align_t));
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

/** Not inlined, or GCC takes the memory of our operator new for that of another. */
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory); // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

/** Asio asks here. */
extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return allocate(size, alignment);
}

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

TEST_F(SystemQueuesTest, DelayedTasksRunFromTheirTimeOnUnlessCancelled)
{
    std::promise<void> done;
    std::array<std::unique_ptr<DelayedTask>, 3> tasks;
    queue->sync([&] {
        // Both are due when the loop looks next: the one cancels the other, which is ready to run.
        tasks[0] = queue->after(milliseconds(0), [&] { tasks[1].reset(); });
        tasks[1] = queue->after(milliseconds(0), [&] { order.push_back(9); });
        tasks[2] = queue->after(milliseconds(5), [&, due = queue->now() + milliseconds(5)] {
            EXPECT_GE(queue->now(), due);
            done.set_value();
        });
    });
    done.get_future().wait();
    EXPECT_THAT(order, testing::IsEmpty());
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

TEST_F(SystemQueuesTest, ATaskThatCouldNotBeHandedOverDoesNotStopThoseBehindIt)
{
    for (int allocation = 1; allocation <= 3; ++allocation) {
        bool isHandedOver = true;
        std::size_t runs = 0;
        const Task task = [&runs] { ++runs; };
        allocationsLeft = allocation;
        try {
            queue->async(task);
        } catch (const std::bad_alloc&) {
            isHandedOver = false;
        }
        allocationsLeft = 0;
        std::promise<void> next;
        queue->async([&] { next.set_value(); });
        ASSERT_EQ(next.get_future().wait_for(std::chrono::minutes(1)), std::future_status::ready);
        EXPECT_EQ(runs, isHandedOver ? 1 : 0);
    }
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

TEST(SystemQueuesEnd, WaitsForWhatBackgroundTasksHandOver)
{
    RecordingLog log;
    SystemQueues queues(log);
    int steps = 0;
    std::function<void()> step = [&] {
        if (++steps < 10) queues.background().async(step);
    };
    // The serial queue ends before the background does, so that the first step is among the last.
    const auto serial = queues.makeSerial("serial");
    queues.main().async([&] {
        serial->async([&] { queues.background().async(step); });
        queues.stopMain();
    });
    queues.runMain();
    EXPECT_EQ(steps, 10);
}

} // namespace
} // namespace korvane
