#include "agent/AgentAppDelegate.h"
#include "config/SettingsStore.h"
#include "platform/dnssd/AvahiServiceDirectory.h"
#include "platform/files/UserFolders.h"
#include "platform/log/SystemLog.h"
#include "platform/network/RouteNetlinkPaths.h"
#include "platform/queue/SystemQueues.h"
#include "platform/signals/TerminationSignals.h"
#include "platform/system/Clock.h"
#include "platform/system/HostName.h"
#include "platform/tcp/SocketNetwork.h"

#include <unistd.h>

int main()
{
    using namespace korvane;

    // Before any thread starts, so that every thread inherits what is blocked.
    const TerminationSignals signals;

    const auto log =
        makeSystemLog({.subsystem = "org.korvane.Agent", .category = "app"}, STDERR_FILENO);
    SystemQueues queues(*log);
    SocketNetwork network;
    AvahiServiceDirectory directory;
    RouteNetlinkPaths paths;
    const SystemClock clock;
    const SettingsStore store(currentUserFolders().configHome, hostName());

    AgentAppDelegate delegate(KORVANE_BUILD, store, hostName(),
                              {.queues = queues,
                               .network = network,
                               .clock = clock,
                               .log = *log,
                               .directory = &directory,
                               .paths = &paths});
    const auto termination = signals.watch(queues.main(), [&] {
        delegate.applicationWillTerminate();
        queues.stopMain();
    });
    queues.main().async([&] { delegate.applicationDidFinishLaunching(); });
    queues.runMain();
    return 0;
}
