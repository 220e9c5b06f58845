#pragma once

#include "agent/PrinterService.h"
#include "config/SettingsStore.h"
#include "platform/log/Log.h"
#include "server/IPPServer.h"

#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** Wires the agent together at launch and stops the printer at the end. Main queue only. */
class AgentAppDelegate {
public:
    /** `build` names the build that runs. All that is referred to outlives the delegate. */
    AgentAppDelegate(std::string build, const SettingsStore& store,
                     std::optional<std::string> hostName, const ServerEnvironment& environment);

    /** The event loop has begun. */
    void applicationDidFinishLaunching();

    /** The process is about to end. */
    void applicationWillTerminate();

private:
    const std::string build_;
    const SettingsStore& store_;
    const std::optional<std::string> hostName_;
    const ServerEnvironment environment_;
    Log& log_;
    std::shared_ptr<PrinterService> service_;
};

} // namespace korvane
