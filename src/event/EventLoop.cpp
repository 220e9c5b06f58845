#include "event/EventLoop.h"

#include "base/Lifetime.h"

#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <fmt/format.h>

#include <exception>
#include <future>
#include <utility>

namespace korvane {

namespace {

/** The task as a handler of Asio's, which is called with an error when the wait was cancelled. */
auto handlerOf(const Lifetime& lifetime, Task task)
{
    return lifetime.guard([task = std::move(task)](std::error_code error) {
        if (!error) task();
    });
}

class TimerTask final : public DelayedTask {
public:
    TimerTask(asio::io_context& context, std::chrono::nanoseconds delay, Task task)
        : timer_(context, std::chrono::duration_cast<asio::steady_timer::duration>(delay))
    {
        timer_.async_wait(handlerOf(lifetime_, std::move(task)));
    }

private:
    Lifetime lifetime_;
    asio::steady_timer timer_;
};

class StreamWatch final : public DescriptorWatch {
public:
    StreamWatch(asio::io_context& context, int descriptor) : stream_(context, descriptor) {}
    ~StreamWatch() override { stream_.release(); }
    StreamWatch(const StreamWatch&) = delete;
    StreamWatch& operator=(const StreamWatch&) = delete;

    void whenReadable(Task task) override
    {
        stream_.async_wait(asio::posix::descriptor_base::wait_read,
                           handlerOf(lifetime_, std::move(task)));
    }

    void whenWritable(Task task) override
    {
        stream_.async_wait(asio::posix::descriptor_base::wait_write,
                           handlerOf(lifetime_, std::move(task)));
    }

private:
    Lifetime lifetime_;
    asio::posix::stream_descriptor stream_;
};

} // namespace

EventLoop::EventLoop(Log& log) : log_(log), context_(1), work_(asio::make_work_guard(context_)) {}

void EventLoop::async(Task task)
{
    const std::scoped_lock lock(mutex_);
    if (ended_) return;
    // One handler runs all tasks that were queued before it. It is posted before the first of them
    // is queued: where memory runs out, no task is left without a handler.
    if (tasks_.empty()) asio::post(context_, [this] { runQueued(); });
    tasks_.push_back(std::move(task));
}

void EventLoop::runQueued()
{
    std::deque<Task> tasks;
    {
        const std::scoped_lock lock(mutex_);
        tasks.swap(tasks_);
    }
    for (; !tasks.empty(); tasks.pop_front()) runGuarded(tasks.front());
}

void EventLoop::runGuarded(const Task& task)
{
    try {
        task();
    } catch (const std::exception& error) {
        // A task that ran out of memory costs itself, not the agent.
        log_.error(fmt::format("KorvaneAgent: a task failed: {}", error.what()));
    }
}

bool EventLoop::isCurrent() const
{
    return thread_ == std::this_thread::get_id();
}

void EventLoop::sync(const Task& task)
{
    if (isCurrent()) {
        task();
        return;
    }
    bool ran = false;
    auto done = std::make_shared<std::promise<void>>();
    const std::future<void> finished = done->get_future();
    // The promise dies with the task, so that one that fails or is dropped wakes us as well.
    async([&task, &ran, done = std::exchange(done, {})] {
        ran = true;
        task();
    });
    finished.wait();
    if (!ran) task();
}

std::unique_ptr<DelayedTask> EventLoop::after(std::chrono::nanoseconds delay, Task task)
{
    return std::make_unique<TimerTask>(context_, delay, std::move(task));
}

std::chrono::steady_clock::time_point EventLoop::now() const
{
    return std::chrono::steady_clock::now();
}

std::unique_ptr<DescriptorWatch> EventLoop::watch(int descriptor)
{
    return std::make_unique<StreamWatch>(context_, descriptor);
}

void EventLoop::serve()
{
    thread_ = std::this_thread::get_id();
    for (bool serving = true; serving;) {
        try {
            context_.run();
            serving = false;
        } catch (const std::exception& error) {
            log_.error(fmt::format("KorvaneAgent: an event failed: {}", error.what()));
        }
    }
}

void EventLoop::end()
{
    for (bool ended = false; !ended;) {
        runQueued();
        const std::scoped_lock lock(mutex_);
        ended = ended_ = tasks_.empty();
    }
}

} // namespace korvane
