#pragma once

#include "platform/log/Log.h"
#include "platform/queue/Queue.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include <atomic>
#include <memory>
#include <thread>

namespace korvane {

/** A serial queue over an event loop that one thread serves by calling `run`. */
class EventLoop final : public SerialQueue {
public:
    explicit EventLoop(Log& log);

    void async(Task task) override;
    bool isCurrent() const override;
    void sync(const Task& task) override;
    std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay, Task task) override;
    std::chrono::steady_clock::time_point now() const override;
    std::unique_ptr<DescriptorWatch> watch(int descriptor) override;

    /** Serves the queue on this thread until `stop`, or until `finish` and nothing is left to do.
     */
    void run();

    /** Ends `run` after the task it is in. */
    void stop() { context_.stop(); }

    /** Lets `run` end once every task has run and every watch and delayed task is gone. */
    void finish() { work_.reset(); }

private:
    Log& log_;
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::atomic<std::thread::id> thread_;
};

} // namespace korvane
