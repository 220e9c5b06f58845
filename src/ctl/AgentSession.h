#pragma once

#include "base/Log.h"
#include "event/SystemQueues.h"
#include "lib/systemd/BlockingBus.h"
#include "lib/systemd/SystemSessionBus.h"
#include "status/AgentClient.h"

#include <memory>

namespace korvane {

/** The session bus as a program uses it that asks a few questions and ends. */
class AgentSession {
public:
    /** Waits until the bus is there or known not to be, 2 s at most. The log outlives the session.
     */
    explicit AgentSession(Log& log);
    ~AgentSession();
    AgentSession(const AgentSession&) = delete;
    AgentSession& operator=(const AgentSession&) = delete;

    AgentClient& agent() { return agent_; }

    /** Tells the agent that the settings have changed, and returns when the bus knows it; false
     *  without a bus. */
    bool postSettingsChanged();

private:
    void connect();

    SystemQueues queues_;
    const std::shared_ptr<SerialQueue> queue_;
    std::unique_ptr<SystemSessionBus> bus_;
    BlockingSessionBus blocking_;
    AgentClient agent_;
};

} // namespace korvane
