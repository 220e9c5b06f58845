#pragma once

#include "event/Subscription.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

/** Work handed to a queue. It does not throw. */
using Task = std::function<void()>;

/** Runs the tasks that it is given, later and elsewhere. Tasks may be handed over from any thread.
 */
class Queue {
public:
    virtual ~Queue() = default;

    /** Runs `task` soon; returns at once. */
    virtual void async(Task task) = 0;
};

/** A task waiting for its time. Once it is cancelled the task does not run, even if its time had
 *  already come. */
using DelayedTask = Subscription;

/**
 * Tells when a descriptor is ready, once for each request. The descriptor stays open, and the watch
 * on its queue, for as long as the watch lives; destroying it drops what was requested.
 */
class DescriptorWatch {
public:
    virtual ~DescriptorWatch() = default;
    virtual void whenReadable(Task task) = 0;
    virtual void whenWritable(Task task) = 0;
};

/**
 * Runs its tasks one at a time, in the order in which they came. Destroying a serial queue lets the
 * tasks already handed over finish; it may be done from one of its own tasks.
 */
class SerialQueue : public Queue {
public:
    /** True inside a task of this queue. */
    virtual bool isCurrent() const = 0;

    /** Runs `task` after what is already queued, and returns when it is done. Inside a task of this
     *  queue it runs at once. A task of another serial queue may wait for this one only if this one
     *  was made later; so no two wait for each other. */
    virtual void sync(const Task& task) = 0;

    /** Runs `task` on this queue when `delay` has passed. */
    [[nodiscard]] virtual std::unique_ptr<DelayedTask> after(std::chrono::nanoseconds delay,
                                                             Task task) = 0;

    /** The moment that delays are counted from; it never goes back. */
    virtual std::chrono::steady_clock::time_point now() const = 0;

    /** Watches a non-blocking descriptor that somebody else owns. Called on this queue. */
    [[nodiscard]] virtual std::unique_ptr<DescriptorWatch> watch(int descriptor) = 0;
};

/** The queues of one process. */
class Queues {
public:
    virtual ~Queues() = default;

    /** The application's event loop. */
    virtual SerialQueue& main() = 0;

    /** Runs long tasks, dozens at a time, so that one may wait for a slow folder. What was handed
     *  over, also by these tasks, is done before the process ends. */
    virtual Queue& background() = 0;

    /** Runs long tasks, several at a time, beside the background ones and without delaying them.
     *  What has not begun when the process ends is dropped. */
    virtual Queue& utility() = 0;

    /** A new serial queue with a thread of its own; the label is the thread's name. */
    [[nodiscard]] virtual std::shared_ptr<SerialQueue> makeSerial(const std::string& label) = 0;
};

} // namespace korvane
