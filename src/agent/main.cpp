#include "agent/AgentAppDelegate.h"
#include "config/SettingsStore.h"
#include "platform/dnssd/AvahiServiceDirectory.h"
#include "platform/documents/WorkerDocuments.h"
#include "platform/files/UserFolders.h"
#include "platform/log/SystemLog.h"
#include "platform/network/RouteNetlinkPaths.h"
#include "platform/queue/SystemQueues.h"
#include "platform/signals/ProcessSignals.h"
#include "platform/system/Clock.h"
#include "platform/system/DescriptorLimit.h"
#include "platform/system/HostName.h"
#include "platform/system/UserAccount.h"
#include "platform/system/UserLanguage.h"
#include "platform/tcp/SocketNetwork.h"
#include "platform/worker/WorkerPool.h"
#include "platform/worker/WorkerProcess.h"

#include <unistd.h>

#include <csignal>
#include <memory>
#include <utility>

int main()
{
    using namespace korvane;

    // Before any thread starts, so that every thread inherits what is blocked.
    const ProcessSignals signals;
    raiseDescriptorLimit();

    const auto log =
        makeSystemLog({.subsystem = "org.korvane.Agent", .category = "app"}, STDERR_FILENO);
    SystemQueues queues(*log);
    SocketNetwork network;
    AvahiServiceDirectory directory;
    RouteNetlinkPaths paths;
    const SystemClock clock;
    const SettingsStore store(currentUserFolders().configHome, hostName());
    const std::string locale = userLanguage();
    const std::string language = locale.empty() ? "eng" : locale;
    WorkerPool workers(queues, std::make_unique<WorkerProcessLauncher>());
    WorkerDocuments documents(workers, language);

    const auto delegate = std::make_shared<AgentAppDelegate>(
        KORVANE_BUILD, store, hostName(),
        ServerEnvironment{.queues = queues,
                          .network = network,
                          .clock = clock,
                          .log = *log,
                          .directory = &directory,
                          .paths = &paths},
        JobEnvironment{.queues = queues,
                       .clock = clock,
                       .log = *log,
                       .documents = documents,
                       .userLanguages = {language},
                       .author = currentUserAccount().loginName},
        [&](Task handler) { return signals.watch({SIGHUP}, queues.main(), std::move(handler)); });
    const auto termination = signals.watch({SIGTERM, SIGINT}, queues.main(), [&] {
        delegate->applicationWillTerminate();
        // Jobs do not wait for recognition any more: they are saved as they were received.
        workers.stop();
        queues.stopMain();
    });
    queues.main().async([&] { delegate->applicationDidFinishLaunching(); });
    queues.runMain();
    return 0;
}
