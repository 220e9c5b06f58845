#include "agent/PrintJobs.h"

#include "text/Text.h"

#include <fmt/format.h>

#include <set>
#include <utility>

namespace korvane {

namespace {

/** A client that sends one unreadable document after the other is told to the user once. */
constexpr std::chrono::minutes betweenRefusedDocuments{1};

} // namespace

PrintJobs::PrintJobs(JobEnvironment environment, std::shared_ptr<NotificationManager> notifications,
                     std::shared_ptr<AgentStatus> status, Settings settings)
    : environment_(std::move(environment)), log_(environment_.log),
      notifications_(std::move(notifications)), status_(std::move(status)),
      settings_(std::move(settings)), launch_(environment_.clock.now()),
      unsavedJobs_(environment_.queues.main(),
                   [this](std::shared_ptr<SpooledJob> job) { processAgain(std::move(job)); })
{
}

std::shared_ptr<PrintJobs> PrintJobs::make(JobEnvironment environment,
                                           std::shared_ptr<NotificationManager> notifications,
                                           std::shared_ptr<AgentStatus> status, Settings settings)
{
    std::shared_ptr<PrintJobs> jobs(new PrintJobs(std::move(environment), std::move(notifications),
                                                  std::move(status), std::move(settings)));
    const auto weak = jobs->weak_from_this();
    jobs->pipeline_ = std::make_shared<JobPipeline>(
        jobs->environment_, JobHandlers{.completed =
                                            [weak](const CompletedJob& job) {
                                                if (const auto self = weak.lock())
                                                    self->handleCompletedJob(job);
                                            },
                                        .unsaved =
                                            [weak](const UnsavedJob& job) {
                                                if (const auto self = weak.lock())
                                                    self->handleUnsavedJob(job);
                                            }});
    return jobs;
}

void PrintJobs::recover(Task recovered)
{
    environment_.queues.background().async([weak = weak_from_this(), &spool = environment_.spool,
                                            &main = environment_.queues.main(), &log = log_,
                                            recovered = std::move(recovered)] {
        const auto ours = spool.check();
        if (!ours) log.error("PrinterService: can't use the spool: " + ours.error().description());
        main.async([weak, ours, jobs = spool.recover(), recovered] {
            const auto self = weak.lock();
            if (!self) return;
            if (!ours) self->tellOfUnusableSpool(ours.error());
            self->begin(jobs);
            recovered();
        });
    });
}

void PrintJobs::tellOfUnusableSpool(const SystemError& error)
{
    notifications_->showSpoolUnusable(environment_.spool.unsavedFolder().parent_path(),
                                      error.description());
}

void PrintJobs::begin(const std::vector<std::shared_ptr<SpooledJob>>& jobs)
{
    std::set<std::filesystem::path> folders = {settings_().saveDirectoryPath};
    for (const auto& job : jobs) folders.insert(job->ticket().saveDirectory);
    // Before any job of theirs.
    for (const auto& folder : folders) {
        environment_.folders.of(folder)->async(
            [folder, &spool = environment_.spool] { spool.removeStrays(folder); });
    }
    for (const auto& job : jobs) {
        if (job->isSetAside()) {
            unsavedJobs_.add(job);
        } else {
            processAgain(job);
        }
    }
    unsavedJobs_.tryAgain();
}

/** A job of an earlier agent, or one that was set aside, which ended it for the client. */
void PrintJobs::processAgain(std::shared_ptr<SpooledJob> job)
{
    auto printJob =
        std::make_shared<PrintJob>(JobOrigin{.name = job->ticket().jobName}, environment_.clock);
    process(std::move(job), std::move(printJob));
}

void PrintJobs::handleCompletedJob(const CompletedJob& job)
{
    log_.note(fmt::format("PrinterService: job saved at {} ({} text chars)", job.pdfURL.string(),
                          text::characterCount(job.plainText)));
    status_->addDocument({.name = job.jobName,
                          .time = std::chrono::system_clock::to_time_t(environment_.clock.now()),
                          .path = job.pdfURL.string(),
                          .pages = static_cast<std::uint32_t>(job.pages),
                          .words = static_cast<std::uint32_t>(job.words),
                          .language = job.language});
    notifications_->postJobNotification(job, settings_().notesEnabled);
    unsavedJobs_.jobSaved(job.pdfURL.parent_path());
}

void PrintJobs::handleUnsavedJob(const UnsavedJob& unsaved)
{
    const JobTicket& ticket = unsaved.job->ticket();
    if (!unsaved.writeError && !unsaved.wasSetAside) {
        const std::string folder = ticket.accepted < launch_ ? ticket.saveDirectory.string()
                                                             : settings_().saveDirectoryPath;
        log_.note(fmt::format(
            "PrinterService: save directory \"{}\" missing or unreadable, dropping job", folder));
    }
    const bool isToBeTold = unsavedJobs_.add(unsaved);
    if (!unsaved.document.empty())
        log_.note("PrinterService: document kept at " + unsaved.document.string());
    if (!isToBeTold) return;
    notifications_->showUnsaved(ticket.jobName, ticket.saveDirectory, unsaved.document,
                                unsaved.writeError ? unsaved.writeError->description() : "");
}

void PrintJobs::handleRefusedDocument(const std::filesystem::path& document)
{
    const auto now = environment_.queues.main().now();
    if (toldOfRefusedDocument_ && now - *toldOfRefusedDocument_ < betweenRefusedDocuments) return;
    toldOfRefusedDocument_ = now;
    notifications_->showRefused(document);
}

} // namespace korvane
