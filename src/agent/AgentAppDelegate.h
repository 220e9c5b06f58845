#pragma once

#include "agent/PrinterService.h"
#include "config/SettingsObserver.h"
#include "config/SettingsStore.h"
#include "platform/log/Log.h"
#include "server/IPPServer.h"

#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** Wires the agent together at launch, reloads it when its settings change, and stops the printer
 * at the end. Main queue only. */
class AgentAppDelegate : public std::enable_shared_from_this<AgentAppDelegate> {
public:
    /** `build` names the build that runs; `settingsChanges` delivers the signal that the settings
     *  have changed. All that is referred to outlives the delegate. */
    AgentAppDelegate(std::string build, const SettingsStore& store,
                     std::optional<std::string> hostName, const ServerEnvironment& environment,
                     const JobEnvironment& jobs, SettingsObserver::Subscribe settingsChanges);

    /** The event loop has begun. */
    void applicationDidFinishLaunching();

    /** The process is about to end. */
    void applicationWillTerminate();

private:
    void settingsChanged();

    const std::string build_;
    const SettingsStore& store_;
    const std::optional<std::string> hostName_;
    const ServerEnvironment environment_;
    const JobEnvironment jobs_;
    Log& log_;
    std::shared_ptr<PrinterService> service_;
    SettingsObserver observer_;
};

} // namespace korvane
