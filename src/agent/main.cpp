#include "agent/AgentAppDelegate.h"
#include "config/SettingsStore.h"
#include "desktop/NotesBridge.h"
#include "platform/alert/DesktopAlert.h"
#include "platform/bus/BusAddress.h"
#include "platform/bus/SystemSessionBus.h"
#include "platform/dnssd/AvahiServiceDirectory.h"
#include "platform/documents/WorkerDocuments.h"
#include "platform/files/UserFolders.h"
#include "platform/fileviewer/DesktopFileViewer.h"
#include "platform/log/SystemLog.h"
#include "platform/network/RouteNetlinkPaths.h"
#include "platform/notes/DesktopNotes.h"
#include "platform/notifications/DesktopNotificationCenter.h"
#include "platform/queue/SystemQueues.h"
#include "platform/script/NotesScriptRunner.h"
#include "platform/service/ServiceManager.h"
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
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

namespace {

korvane::Result<void, std::string> addNote(const std::string& title, const std::string& text,
                                           const std::string& folder,
                                           const std::filesystem::path& pdf)
{
    using namespace korvane;
    const NotesScriptRunner runner([] { return openDesktopNotes(currentUserFolders()); });
    return NotesBridge::addNote(title, text, folder, pdf, runner)
        .map_error([](const NotesBridge::NotesError& error) { return error.description(); });
}

} // namespace

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

    SystemSessionBus bus(sessionBusAddress(), queues.main());
    DesktopNotificationCenter notifications(bus, "Korvane", "org.korvane.Agent");
    DesktopFileViewer viewer(bus, queues.main());
    DesktopAlert alert(queues.main(), notifications, hasDisplay());
    const ServiceManager serviceManager(serviceManagerSocket());

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
        DesktopEnvironment{.bus = bus,
                           .notifications =
                               std::make_shared<NotificationManager>(notifications, viewer, *log),
                           .alert = alert,
                           .serviceManager = serviceManager,
                           .addNote = addNote},
        [&](Task handler) { return signals.watch({SIGHUP}, queues.main(), std::move(handler)); });
    const auto termination = signals.watch({SIGTERM, SIGINT}, queues.main(), [&] {
        delegate->applicationWillTerminate();
        // Jobs do not wait for recognition any more: they are saved as they were received.
        workers.stop();
        queues.stopMain();
    });
    queues.main().async([&] {
        bus.start();
        delegate->applicationDidFinishLaunching();
    });
    queues.runMain();
    return 0;
}
