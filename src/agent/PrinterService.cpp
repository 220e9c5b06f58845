#include "agent/PrinterService.h"

#include "config/PrinterIdentity.h"
#include "document/FileNaming.h"
#include "web/PrinterSite.h"

#include <fmt/format.h>

#include <optional>
#include <utility>

namespace korvane {

namespace {

constexpr const char* resourcePath = "/ipp/print";

constexpr std::chrono::seconds betweenIdentifications{2};

/** What clients see in the moment in which the service is gone and its server is not yet. */
PrinterDescriptor fallbackDescriptor()
{
    return {.name = "Korvane",
            .uri = "ipp://localhost/ipp/print",
            .uuid = "00000000-0000-0000-0000-000000000000",
            .location = "localhost"};
}

/** Made when a job is accepted: settings that change later are not its own. */
JobTicket makeTicket(const SettingsStore& store, const Clock& clock, const std::string& jobName)
{
    const auto now = clock.now();
    return {.jobName = jobName,
            .accepted = now,
            .saveDirectory = absoluteSaveDirectory(store.loadSettings()),
            .fileName = fileName(jobName, now)};
}

} // namespace

PrinterService::PrinterService(AgentEnvironment environment)
    : environment_(std::move(environment)), log_(environment_.server.log),
      printerUUID_(loadOrCreatePrinterUUID(environment_.store.supportDirectory(), log_)),
      notes_(std::make_shared<NoteQueue>(environment_.server.queues, log_, environment_.desktop)),
      status_(AgentStatus::make(
          environment_.server.queues,
          environment_.jobs.spool.unsavedFolder().parent_path() / "documents.json", log_)),
      hostNames_(environment_.hostNames.watch(environment_.server.queues.main(),
                                              [this] { hostNameChanged(); })),
      shared_{.settings = environment_.store.defaultSettings()}
{
}

PrinterService::Shared PrinterService::shared() const
{
    const std::scoped_lock lock(mutex_);
    return shared_;
}

void PrinterService::setAdvertisedPort(std::uint16_t port)
{
    const std::scoped_lock lock(mutex_);
    shared_.advertisedPort = port;
}

void PrinterService::start()
{
    jobs_ = PrintJobs::make(environment_.jobs, environment_.desktop.notifications, status_,
                            [weak = weak_from_this()] {
                                const auto self = weak.lock();
                                return self ? self->shared().settings : AppSettings();
                            });
    reload();
    jobs_->recover([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->isRecovered_ = true;
        if (isConfigured(self->shared().settings)) self->startServer();
    });
}

void PrinterService::reload()
{
    jobs_->retryUnsaved();
    AppSettings settings = environment_.store.loadSettings();
    if (std::string absolute = absoluteSaveDirectory(settings);
        absolute != settings.saveDirectoryPath) {
        log_.note(
            fmt::format("PrinterService: save folder \"{}\" is not an absolute path, using {}",
                        settings.saveDirectoryPath, absolute));
        settings.saveDirectoryPath = std::move(absolute);
    }
    {
        const std::scoped_lock lock(mutex_);
        shared_.settings = settings;
    }
    if (!isConfigured(settings)) {
        log_.note("PrinterService: not configured, stopping");
        stopServer();
        tell(PrinterState::Phase::notConfigured, environment_.store.problem().value_or(""));
        environment_.desktop.serviceManager.status("Not configured");
        return;
    }
    if (ippServer_ && ippServer_->configuredPort() == settings.ippPort) {
        ippServer_->republish();
        tell(status_->printer().phase, status_->printer().problem);
        return;
    }
    if (ippServer_) {
        log_.note(fmt::format("PrinterService: IPP port changed to {}, restarting listener",
                              settings.ippPort));
        stopServer();
    }
    tell(PrinterState::Phase::starting);
    startServer();
}

bool PrinterService::isOutdated() const
{
    AppSettings settings = environment_.store.loadSettings();
    settings.saveDirectoryPath = absoluteSaveDirectory(settings);
    return settings != shared().settings;
}

void PrinterService::startServer()
{
    if (!isRecovered_) return;
    const std::uint16_t port = shared().settings.ippPort;
    auto server = IPPServer::make(port, makeCallbacks(), environment_.server);
    // What a server that has been replaced still reports is not the printer's state.
    const auto current = [weak = weak_from_this(), sender = std::weak_ptr(server)] {
        const auto self = weak.lock();
        return self && self->ippServer_ == sender.lock() ? self : nullptr;
    };
    server->onReady = [current, &log = log_](std::uint16_t readyPort) {
        const auto self = current();
        if (self) self->setAdvertisedPort(readyPort);
        log.note(fmt::format("PrinterService: ready on port {}, Bonjour advertising", readyPort));
        if (!self) return;
        const auto& desktop = self->environment_.desktop;
        desktop.notifications->removePortUnavailable();
        desktop.serviceManager.status(fmt::format("Ready on port {}", readyPort));
        self->tell(PrinterState::Phase::ready);
    };
    server->onNetworkNameChange = [current](const std::string& name) {
        if (const auto self = current()) self->tellNetworkName(name);
    };
    server->onPortUnavailable = [current](std::uint16_t takenPort, const SystemError& error) {
        if (const auto self = current()) self->portUnavailable(takenPort, error.description());
    };
    const auto started = server->start();
    if (!started) {
        const std::string reason = describe(started.error());
        log_.error("PrinterService: IPP listener failed to start: " + reason);
        portUnavailable(port, reason);
        return;
    }
    ippServer_ = std::move(server);
}

void PrinterService::portUnavailable(std::uint16_t port, const std::string& reason)
{
    tell(PrinterState::Phase::portUnavailable, reason);
    environment_.desktop.serviceManager.status(fmt::format("Port {} is unavailable", port));
    environment_.desktop.notifications->showPortUnavailable(port, reason);
}

/** With the settings and the host's name as they are. */
void PrinterService::tell(PrinterState::Phase phase, std::string problem)
{
    const AppSettings settings = shared().settings;
    status_->setPrinter({.phase = phase,
                         .problem = std::move(problem),
                         .port = settings.ippPort,
                         .printerName = settings.printerName,
                         .networkName = ippServer_ ? status_->printer().networkName : "",
                         .hostName = environment_.hostNames.current().value_or("")});
}

void PrinterService::tellNetworkName(const std::string& name)
{
    PrinterState state = status_->printer();
    state.networkName = name;
    status_->setPrinter(std::move(state));
}

PrinterCallbacks PrinterService::makeCallbacks()
{
    const auto weak = weak_from_this();
    return {.descriptor =
                [weak] {
                    const auto self = weak.lock();
                    return self ? self->makeDescriptor() : fallbackDescriptor();
                },
            .ticket = [&store = environment_.store, &clock = environment_.server.clock](
                          const std::string& jobName) { return makeTicket(store, clock, jobName); },
            .jobAccepted =
                [weak](std::shared_ptr<SpooledJob> job, std::shared_ptr<PrintJob> printJob) {
                    if (const auto self = weak.lock())
                        self->jobs_->process(std::move(job), std::move(printJob));
                },
            .documentRefused =
                [weak,
                 &main = environment_.server.queues.main()](const std::filesystem::path& document) {
                    main.async([weak, document] {
                        if (const auto self = weak.lock())
                            self->jobs_->handleRefusedDocument(document);
                    });
                },
            .identify =
                [weak, &main = environment_.server.queues.main()](const std::string& message) {
                    main.async([weak, message] {
                        if (const auto self = weak.lock()) self->identify(message);
                    });
                },
            .page = [weak](const std::string& path,
                           const PrinterStatus& status) -> std::optional<HTTPResponse> {
                const auto self = weak.lock();
                if (!self) return std::nullopt;
                return printerSite(path, self->makeDescriptor(), status);
            }};
}

void PrinterService::stopServer()
{
    if (const auto server = std::exchange(ippServer_, nullptr)) {
        stoppedServers_.push_back(server);
        server->stop([weak = weak_from_this(), stopped = std::weak_ptr(server)] {
            if (const auto self = weak.lock()) std::erase(self->stoppedServers_, stopped.lock());
        });
    }
    setAdvertisedPort(0);
}

void PrinterService::hostNameChanged()
{
    tell(status_->printer().phase, status_->printer().problem);
    if (!ippServer_) return;
    log_.note(fmt::format("PrinterService: this host is now {}.local, advertising again",
                          environment_.hostNames.current().value_or("Mac")));
    ippServer_->republish();
}

void PrinterService::stop()
{
    stopServer();
}

PrinterDescriptor PrinterService::makeDescriptor() const
{
    const Shared state = shared();
    const std::string host = environment_.hostNames.current().value_or("Mac");
    const std::string port =
        state.advertisedPort == 0 ? "" : fmt::format(":{}", state.advertisedPort);
    return {.name = state.settings.printerName,
            .uri = fmt::format("ipp://{}.local.{}{}", host, port, resourcePath),
            .uuid = printerUUID_,
            .location = host,
            .profile = state.settings.ippEverywhere ? PrinterProfile::ippEverywhere
                                                    : PrinterProfile::basic};
}

/** Of many that ask at once one is enough to find the printer. */
void PrinterService::identify(const std::string& message)
{
    const auto now = environment_.server.queues.main().now();
    if (identified_ && now - *identified_ < betweenIdentifications) return;
    identified_ = now;
    environment_.desktop.notifications->showIdentify(shared().settings.printerName, message);
}

void PrinterService::addToNotes(const CompletedJob& job)
{
    notes_->add(job, shared().settings.notesFolder);
}

} // namespace korvane
