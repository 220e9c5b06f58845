#pragma once

#include "agent/AgentStatus.h"
#include "event/Queue.h"
#include "lib/systemd/SessionBus.h"

#include <memory>
#include <set>

namespace korvane {

/** The agent on the session bus, as packaging/org.korvane.Agent.xml describes it: whoever asks is
 *  told the status, and signals tell of changes, a few a second at most. Main queue only. */
class AgentObject {
public:
    /** The bus and the queue outlive the object. */
    AgentObject(SessionBus& bus, SerialQueue& main, std::shared_ptr<AgentStatus> status);
    AgentObject(const AgentObject&) = delete;
    AgentObject& operator=(const AgentObject&) = delete;
    ~AgentObject();

private:
    void tellLater(AgentStatus::Part part);
    void tell();
    void tellPrinter();

    SessionBus& bus_;
    SerialQueue& main_;
    const std::shared_ptr<AgentStatus> status_;
    /** The printer as the bus was last told. */
    BusDictionary told_;
    std::set<AgentStatus::Part> changed_;
    std::unique_ptr<DelayedTask> telling_;
    std::unique_ptr<Subscription> offer_;
};

} // namespace korvane
