#include "agent/PrinterService.h"

#include "config/PrinterIdentity.h"
#include "document/FileNaming.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <exception>
#include <set>
#include <utility>

namespace korvane {

namespace {

constexpr const char* resourcePath = "/ipp/print";

/** Notes that wait while a slow application makes one. */
constexpr std::size_t maxNotes = 64;

/** A client that sends one unreadable document after the other is told to the user once. */
constexpr std::chrono::minutes betweenRefusedDocuments{1};

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
            .saveDirectory = store.loadSettings().saveDirectoryPath,
            .fileName = fileName(jobName, now)};
}

/** Running out of memory fails this note only, not those that wait behind it. */
Result<void, std::string> makeNote(const AddNote& addNote, const CompletedJob& job,
                                   const std::string& folder)
{
    try {
        return addNote(job.jobName, job.plainText, folder, job.pdfURL);
    } catch (const std::exception& error) {
        return failure(std::string(error.what()));
    }
}

} // namespace

PrinterService::PrinterService(AgentEnvironment environment)
    : environment_(std::move(environment)), log_(environment_.server.log),
      launch_(environment_.jobs.clock.now()),
      printerUUID_(loadOrCreatePrinterUUID(environment_.store.supportDirectory(), log_)),
      unsavedJobs_(environment_.server.queues.main(),
                   [this](std::shared_ptr<SpooledJob> job) { pipeline_->process(std::move(job)); }),
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
    pipeline_ = std::make_shared<JobPipeline>(
        environment_.jobs, JobHandlers{.completed =
                                           [weak = weak_from_this()](const CompletedJob& job) {
                                               if (const auto self = weak.lock())
                                                   self->handleCompletedJob(job);
                                           },
                                       .unsaved =
                                           [weak = weak_from_this()](const UnsavedJob& job) {
                                               if (const auto self = weak.lock())
                                                   self->handleUnsavedJob(job);
                                           }});
    Queues& queues = environment_.jobs.queues;
    queues.background().async([weak = weak_from_this(), &spool = environment_.server.spool,
                               &main = queues.main(), &log = log_] {
        if (const auto ours = spool.check(); !ours)
            log.error("PrinterService: can't use the spool: " + ours.error().description());
        main.async([weak, jobs = spool.recover()] {
            if (const auto self = weak.lock()) self->recovered(jobs);
        });
    });
    reload();
}

void PrinterService::recovered(const std::vector<std::shared_ptr<SpooledJob>>& jobs)
{
    isRecovered_ = true;
    std::set<std::filesystem::path> folders = {shared().settings.saveDirectoryPath};
    for (const auto& job : jobs) folders.insert(job->ticket().saveDirectory);
    // Before any job of theirs, whose half-written file would look like a stray.
    for (const auto& folder : folders) {
        environment_.jobs.folders.of(folder)->async(
            [folder, &spool = environment_.server.spool] { spool.removeStrays(folder); });
    }
    for (const auto& job : jobs) {
        if (job->isSetAside()) {
            unsavedJobs_.add(job);
        } else {
            pipeline_->process(job);
        }
    }
    unsavedJobs_.tryAgain();
    if (isConfigured(shared().settings) && !ippServer_) startServer();
}

void PrinterService::reload()
{
    unsavedJobs_.tryAgain();
    const AppSettings settings = environment_.store.loadSettings();
    {
        const std::scoped_lock lock(mutex_);
        shared_.settings = settings;
    }
    if (!isConfigured(settings)) {
        log_.note("PrinterService: not configured, stopping");
        stopServer();
        environment_.desktop.serviceManager.status("Not configured");
        return;
    }
    if (ippServer_ && ippServer_->configuredPort() == settings.ippPort) {
        ippServer_->republish();
        return;
    }
    if (ippServer_) {
        log_.note(fmt::format("PrinterService: IPP port changed to {}, restarting listener",
                              settings.ippPort));
        stopServer();
    }
    startServer();
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
        if (self)
            self->environment_.desktop.serviceManager.status(
                fmt::format("Ready on port {}", readyPort));
    };
    server->onPortUnavailable = [current](std::uint16_t takenPort, const SystemError& error) {
        const auto self = current();
        if (!self) return;
        const auto& desktop = self->environment_.desktop;
        desktop.serviceManager.status(fmt::format("Port {} is unavailable", takenPort));
        desktop.notifications->showPortUnavailable(takenPort, error.description());
    };
    const auto started = server->start();
    if (!started) {
        const std::string reason = describe(started.error());
        log_.error("PrinterService: IPP listener failed to start: " + reason);
        environment_.desktop.serviceManager.status(fmt::format("Port {} is unavailable", port));
        environment_.desktop.notifications->showPortUnavailable(port, reason);
        return;
    }
    ippServer_ = std::move(server);
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
                [weak](std::shared_ptr<SpooledJob> job) {
                    if (const auto self = weak.lock()) self->pipeline_->process(std::move(job));
                },
            .documentRefused =
                [weak,
                 &main = environment_.server.queues.main()](const std::filesystem::path& document) {
                    main.async([weak, document] {
                        if (const auto self = weak.lock()) self->handleRefusedDocument(document);
                    });
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
            .location = host};
}

void PrinterService::handleCompletedJob(const CompletedJob& job)
{
    log_.note(fmt::format("PrinterService: job saved at {} ({} text chars)", job.pdfURL.string(),
                          text::characterCount(job.plainText)));
    environment_.desktop.notifications->postJobNotification(job, shared().settings.notesEnabled);
    unsavedJobs_.jobSaved(job.pdfURL.parent_path());
}

void PrinterService::handleUnsavedJob(const UnsavedJob& unsaved)
{
    const JobTicket& ticket = unsaved.job->ticket();
    if (!unsaved.writeError && !unsaved.wasSetAside) {
        const std::string folder = ticket.accepted < launch_ ? ticket.saveDirectory.string()
                                                             : shared().settings.saveDirectoryPath;
        log_.note(fmt::format(
            "PrinterService: save directory \"{}\" missing or unreadable, dropping job", folder));
    }
    const bool isToBeTold = unsavedJobs_.add(unsaved);
    if (!unsaved.document.empty())
        log_.note("PrinterService: document kept at " + unsaved.document.string());
    if (!isToBeTold) return;
    environment_.desktop.notifications->showUnsaved(
        ticket.jobName, ticket.saveDirectory, unsaved.document,
        unsaved.writeError ? unsaved.writeError->description() : "");
}

void PrinterService::handleRefusedDocument(const std::filesystem::path& document)
{
    const auto now = environment_.server.queues.main().now();
    if (toldOfRefusedDocument_ && now - *toldOfRefusedDocument_ < betweenRefusedDocuments) return;
    toldOfRefusedDocument_ = now;
    environment_.desktop.notifications->showRefused(document);
}

void PrinterService::addToNotes(const CompletedJob& job)
{
    if (notes_.size() >= maxNotes) {
        noteAdded(job, failure(std::string("Too many notes are waiting")));
        return;
    }
    notes_.push_back({.job = job, .folder = shared().settings.notesFolder});
    if (notes_.size() == 1) addNextNote();
}

void PrinterService::addNextNote()
{
    environment_.server.queues.utility().async([weak = weak_from_this(), note = notes_.front(),
                                                addNote = environment_.desktop.addNote,
                                                &main = environment_.server.queues.main()] {
        const auto added = makeNote(addNote, note.job, note.folder);
        main.async([weak, added] {
            const auto self = weak.lock();
            if (!self) return;
            const PendingNote done = std::move(self->notes_.front());
            self->notes_.pop_front();
            if (!self->notes_.empty()) self->addNextNote();
            self->noteAdded(done.job, added);
        });
    });
}

void PrinterService::noteAdded(const CompletedJob& job,
                               const Result<void, std::string>& added) const
{
    if (added) {
        log_.note("PrinterService: added note for " + job.jobName);
    } else {
        log_.error("PrinterService: NotesBridge failed: " + added.error());
        showNotesError(added.error());
    }
}

void PrinterService::showNotesError(const std::string& reason) const
{
    environment_.desktop.alert.warn("Couldn't add to Notes", reason);
}

} // namespace korvane
