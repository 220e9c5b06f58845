#pragma once

#include "platform/log/Log.h"
#include "platform/queue/Queue.h"

#include <memory>

namespace korvane {

/**
 * The machine's queues. Every serial queue is one thread around one event loop, so that a queue may
 * wait for another without holding up a third, and sockets are served without changing threads.
 *
 * A queue with nothing to do sleeps. Destruction ends the serial queues after the task that each is
 * in, then waits for every background task that was handed over.
 */
class SystemQueues final : public Queues {
public:
    explicit SystemQueues(Log& log);
    ~SystemQueues() override;
    SystemQueues(const SystemQueues&) = delete;
    SystemQueues& operator=(const SystemQueues&) = delete;

    SerialQueue& main() override;
    Queue& background() override;
    std::shared_ptr<SerialQueue> makeSerial(const std::string& label) override;

    /** Serves the main queue on this thread until `stopMain`. */
    void runMain();

    /** Ends `runMain`; called on any thread. */
    void stopMain();

private:
    class Background;
    class Threads;

    Log& log_;
    std::shared_ptr<Threads> threads_;
    std::unique_ptr<class EventLoop> main_;
    std::unique_ptr<Background> background_;
};

} // namespace korvane
