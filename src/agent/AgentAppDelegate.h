#pragma once

#include "agent/AgentEnvironment.h"
#include "agent/AgentObject.h"
#include "agent/PrinterService.h"
#include "base/Log.h"
#include "config/SettingsObserver.h"

#include <memory>
#include <string>

namespace korvane {

/** Wires the agent together at launch, reloads it when its settings change, and stops the printer
 * at the end. Main queue only. */
class AgentAppDelegate : public std::enable_shared_from_this<AgentAppDelegate> {
public:
    /** `build` names the build that runs; `hangUps` delivers SIGHUP. */
    AgentAppDelegate(std::string build, AgentEnvironment environment,
                     SettingsObserver::Subscribe hangUps);

    /** The event loop has begun. */
    void applicationDidFinishLaunching();

    /** The process is about to end. */
    void applicationWillTerminate();

private:
    void settingsChanged();
    void settingsMayHaveChanged();

    const std::string build_;
    const AgentEnvironment environment_;
    Log& log_;
    std::shared_ptr<PrinterService> service_;
    std::unique_ptr<AgentObject> object_;
    SettingsObserver observer_;
};

} // namespace korvane
