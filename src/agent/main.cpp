#include "agent/AgentAppDelegate.h"
#include "base/Clock.h"
#include "base/FileDescriptor.h"
#include "base/HeapMemory.h"
#include "base/HostName.h"
#include "base/User.h"
#include "config/SettingsStore.h"
#include "desktop/DesktopAlert.h"
#include "desktop/DesktopFileViewer.h"
#include "desktop/DesktopNoteViewer.h"
#include "desktop/DesktopNotes.h"
#include "desktop/DesktopNotificationCenter.h"
#include "desktop/DesktopOpener.h"
#include "desktop/NotesBridge.h"
#include "desktop/NotesScriptRunner.h"
#include "desktop/SessionEnvironment.h"
#include "document/FolderQueues.h"
#include "event/ProcessSignals.h"
#include "event/SystemQueues.h"
#include "lib/avahi/AvahiServiceDirectory.h"
#include "lib/systemd/BlockingBus.h"
#include "lib/systemd/BusAddress.h"
#include "lib/systemd/ServiceManager.h"
#include "lib/systemd/SystemLog.h"
#include "lib/systemd/SystemSessionBus.h"
#include "net/HostNames.h"
#include "net/RouteNetlinkPaths.h"
#include "net/SocketNetwork.h"
#include "recognition/LanguageNames.h"
#include "recognition/OCR.h"
#include "recognition/WorkerDocuments.h"
#include "spool/Spool.h"
#include "workerpool/Confinement.h"
#include "workerpool/WorkerPool.h"
#include "workerpool/WorkerProcess.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

namespace korvane {

namespace {

/** For jobs to be saved as they were received; the next agent saves what is left in the spool. */
constexpr std::chrono::milliseconds timeToEnd{2500};

/** One agent serves a user; the service unit knows this exit status. */
constexpr int alreadyRunning = 1;

std::string describeOwner(const Spool& spool)
{
    const auto owner = spool.owner();
    return "KorvaneAgent: already running" + (owner ? fmt::format(" (pid={})", *owner) : "");
}

} // namespace

} // namespace korvane

int main()
{
    using namespace korvane;

    // Before any thread starts, so that every thread inherits what is blocked.
    const ProcessSignals signals;
    // What is relative in the settings does not depend on where the agent was started.
    std::error_code ignored;
    std::filesystem::current_path(currentUserFolders().home, ignored);
    raiseDescriptorLimit();
    limitHeaps();

    const auto log =
        makeSystemLog({.subsystem = "org.korvane.Agent", .category = "app"}, STDERR_FILENO);
    Spool spool(currentUserFolders().stateHome / "Korvane");
    if (const auto ours = spool.check(); !ours && ours.error() == SystemError{EBUSY}) {
        log->note(describeOwner(spool));
        return alreadyRunning;
    }
    SystemQueues queues(*log);
    FolderQueues folders(queues.background());
    SocketNetwork network;
    HostNames hostNames;
    AvahiServiceDirectory directory(systemBusAddress(), hostNames, *log);
    RouteNetlinkPaths paths;
    const SystemClock clock;
    const SettingsStore store(currentUserFolders().configHome, hostName());
    WorkerPool workers(queues, std::make_unique<ConfinementReporter>(
                                   std::make_unique<WorkerProcessLauncher>(), *log));
    WorkerDocuments documents(workers);
    // After the workers, whose last answers it takes: queues end in the order in which they begin.
    OCR ocr(queues, documents, languagesOfCodes(currentUserLocales()), *log);

    SystemSessionBus bus(sessionBusAddress(), queues.main());
    BlockingSessionBus blockingBus(bus, queues.main());
    const AddNote addNote = [&blockingBus, &log = *log](
                                const std::string& title, const std::string& text,
                                const std::string& folder, const std::filesystem::path& pdf) {
        DesktopNotes notes(currentUserFolders(), blockingBus, log);
        return NotesBridge::addNote(title, text, folder, pdf, notesScriptRunner(notes))
            .map_error([](const NotesBridge::NotesError& error) { return error.description(); });
    };
    DesktopNotificationCenter notifications(bus, "Korvane", "org.korvane.Agent");
    SessionEnvironment environment(bus, processEnvironment());
    DesktopOpener opener(environment, queues.main());
    DesktopFileViewer files(bus, opener, *log);
    DesktopNoteViewer notes(bus, opener);
    DesktopAlert alert(queues.main(), notifications, environment);
    const ServiceManager serviceManager(serviceManagerSocket());

    const auto delegate = std::make_shared<AgentAppDelegate>(
        KORVANE_BUILD,
        AgentEnvironment{.store = store,
                         .hostNames = hostNames,
                         .server = {.queues = queues,
                                    .network = network,
                                    .clock = clock,
                                    .log = *log,
                                    .spool = spool,
                                    .documents = documents,
                                    .directory = &directory,
                                    .paths = &paths},
                         .jobs = {.queues = queues,
                                  .folders = folders,
                                  .spool = spool,
                                  .clock = clock,
                                  .log = *log,
                                  .documents = documents,
                                  .ocr = ocr,
                                  .author = currentUserAccount().loginName},
                         .desktop = {.bus = bus,
                                     .notifications = std::make_shared<NotificationManager>(
                                         notifications, files, notes, *log),
                                     .alert = alert,
                                     .serviceManager = serviceManager,
                                     .addNote = addNote}},
        [&](Task handler) { return signals.watch({SIGHUP}, queues.main(), std::move(handler)); });
    const auto termination = signals.watch({SIGTERM, SIGINT}, queues.main(), [&] {
        ProcessSignals::endProcessAfter(timeToEnd);
        delegate->applicationWillTerminate();
        // Jobs do not wait for recognition any more: they are saved as they were received.
        workers.stop();
        blockingBus.stop();
        queues.stopMain();
    });
    queues.main().async([&] {
        bus.start();
        delegate->applicationDidFinishLaunching();
    });
    queues.runMain();
    return 0;
}
