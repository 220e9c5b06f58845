#include "agent/PrinterService.h"

#include "base/DocumentMapping.h"
#include "config/PrinterIdentity.h"
#include "document/FileNaming.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <exception>
#include <utility>

namespace korvane {

namespace {

constexpr const char* resourcePath = "/ipp/print";

/** Notes that wait while a slow application makes one. */
constexpr std::size_t maxNotes = 64;

/** What clients see in the moment in which the service is gone and its server is not yet. */
PrinterDescriptor fallbackDescriptor()
{
    return {.name = "Korvane",
            .uri = "ipp://localhost/ipp/print",
            .uuid = "00000000-0000-0000-0000-000000000000",
            .location = "localhost"};
}

JobTicket makeTicket(const Clock& clock, const std::string& jobName)
{
    const auto now = clock.now();
    return {.jobName = jobName,
            .accepted = now,
            .saveDirectory = {},
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
      printerUUID_(loadOrCreatePrinterUUID(environment_.store.supportDirectory(), log_)),
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

void PrinterService::reload()
{
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
    const std::uint16_t port = shared().settings.ippPort;
    auto pipeline = std::make_shared<JobPipeline>(
        environment_.jobs, [weak = weak_from_this()](const CompletedJob& job) {
            if (const auto self = weak.lock()) self->handleCompletedJob(job);
        });
    {
        const std::scoped_lock lock(mutex_);
        shared_.pipeline = std::move(pipeline);
    }
    PrinterCallbacks printer{.descriptor =
                                 [weak = weak_from_this()] {
                                     const auto self = weak.lock();
                                     return self ? self->makeDescriptor() : fallbackDescriptor();
                                 },
                             .ticket =
                                 [&clock = environment_.server.clock](const std::string& jobName) {
                                     return makeTicket(clock, jobName);
                                 },
                             .jobAccepted =
                                 [weak = weak_from_this()](const std::shared_ptr<SpooledJob>& job) {
                                     if (const auto self = weak.lock()) self->handleJob(*job);
                                 },
                             .documentRefused = [](const std::filesystem::path&) {}};
    auto server = IPPServer::make(port, std::move(printer), environment_.server);
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

void PrinterService::stop()
{
    stopServer();
}

PrinterDescriptor PrinterService::makeDescriptor() const
{
    const Shared state = shared();
    const std::string host = environment_.hostName.value_or("Mac");
    const std::string port =
        state.advertisedPort == 0 ? "" : fmt::format(":{}", state.advertisedPort);
    return {.name = state.settings.printerName,
            .uri = fmt::format("ipp://{}.local.{}{}", host, port, resourcePath),
            .uuid = printerUUID_,
            .location = host};
}

void PrinterService::handleJob(const SpooledJob& job) const
{
    const auto document = job.open().and_then(mapDocument);
    if (!document) return;
    const Shared state = shared();
    const auto saveDirectory = environment_.store.resolvedSaveDirectory();
    if (!saveDirectory) {
        log_.note(
            fmt::format("PrinterService: save directory \"{}\" missing or unreadable, dropping job",
                        state.settings.saveDirectoryPath));
        return;
    }
    if (state.pipeline) state.pipeline->process(job.ticket().jobName, *document, *saveDirectory);
}

void PrinterService::handleCompletedJob(const CompletedJob& job) const
{
    log_.note(fmt::format("PrinterService: job saved at {} ({} text chars)", job.pdfURL.string(),
                          text::characterCount(job.plainText)));
    environment_.desktop.notifications->postJobNotification(job, shared().settings.notesEnabled);
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
