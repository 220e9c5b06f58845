#pragma once

#include "base/Log.h"
#include "event/Queue.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace korvane {

/** A serial queue over an event loop that one thread runs by calling `serve` and then `end`. */
class EventLoop final : public SerialQueue {
public:
    explicit EventLoop(Log& log);

    /** After `end` the task is dropped. */
    void async(Task task) override;
    bool isCurrent() const override;
    /** After `end` the task runs at once, on the calling thread. */
    void sync(const Task& task) override;
    std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay, Task task) override;
    std::chrono::steady_clock::time_point now() const override;
    std::unique_ptr<DescriptorWatch> watch(int descriptor) override;

    /** Waits for events and runs tasks until `stop`, or until `finish` and nothing is left. */
    void serve();

    /** Runs the tasks that are still queued, and takes no more. On the thread of `serve`. */
    void end();

    /** Ends `serve`. */
    void stop() { context_.stop(); }

    /** Lets `serve` end once every task has run and every watch and delayed task is gone. */
    void finish() { work_.reset(); }

private:
    void runQueued();
    void runGuarded(const Task& task);

    Log& log_;
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::atomic<std::thread::id> thread_;

    std::mutex mutex_;
    std::deque<Task> tasks_;
    bool ended_ = false;
};

} // namespace korvane
