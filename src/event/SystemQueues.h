#pragma once

#include "base/Log.h"
#include "event/Queue.h"

#include <memory>

namespace korvane {

/**
 * The machine's queues. Every serial queue is one thread around one event loop, so that a queue may
 * wait for another without holding up a third, and sockets are served without changing threads.
 * The threads of the other queues come with the work. A queue with nothing to do sleeps.
 */
class SystemQueues final : public Queues {
public:
    explicit SystemQueues(Log& log);
    ~SystemQueues() override;
    SystemQueues(const SystemQueues&) = delete;
    SystemQueues& operator=(const SystemQueues&) = delete;

    SerialQueue& main() override;
    Queue& background() override;
    Queue& utility() override;
    std::shared_ptr<SerialQueue> makeSerial(const std::string& label) override;

    /**
     * Serves the main queue on this thread until `stopMain`, then brings all queues to their end:
     * serial queues after the tasks they have, oldest queue first; utility tasks after those that
     * have begun; background tasks after all of them and those that they hand over; and last what
     * these left for the main queue.
     */
    void runMain();

    /** Ends `runMain`; called on any thread. */
    void stopMain();

private:
    class Pool;
    class Threads;

    void endOthers();

    Log& log_;
    std::unique_ptr<Threads> threads_;
    std::unique_ptr<class EventLoop> main_;
    std::unique_ptr<Pool> background_;
    std::unique_ptr<Pool> utility_;
};

} // namespace korvane
