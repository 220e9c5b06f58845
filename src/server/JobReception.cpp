#include "server/JobReception.h"

#include "base/TimeText.h"
#include "base/UUID.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

JobReception::JobReception(std::shared_ptr<const JobIntake> intake, const Clock& clock)
    : intake_(std::move(intake)), clock_(clock),
      room_(std::make_shared<SpoolRoom>(intake_->environment().spool)),
      pending_(std::make_shared<PendingJobs>(intake_->environment().queue, log(),
                                             PendingJobs::Limits{})),
      standing_(jobs_, clock)
{
}

JobView JobReception::view(const KnownJob& job, const PrinterDescriptor& described,
                           const std::string& host) const
{
    return {.job = job,
            .printer = described,
            .now = clock_.now(),
            .started = standing_.started(),
            .isOwner = job.isFrom(host)};
}

std::shared_ptr<KnownJob> JobReception::makeJob(const IPPRequest& request) const
{
    JobOrigin origin{
        .name =
            request.jobName.empty() ? "Print Job " + utcTimestamp(clock_.now()) : request.jobName,
        .user = request.userName,
        .host = request.host,
    };
    auto job = std::make_shared<KnownJob>();
    job->progress = std::make_shared<PrintJob>(std::move(origin), clock_);
    job->uuid = makeRandomUUID();
    job->traits = request.traits;
    return job;
}

std::shared_ptr<ReceivedDocument> JobReception::makeDocument(std::function<void()> onWritten) const
{
    const IntakeEnvironment& environment = intake_->environment();
    return std::make_shared<ReceivedDocument>(environment.queue, environment.background,
                                              environment.spool, room_, std::move(onWritten));
}

void JobReception::take(const KnownJob& job, ReceivedDocument& document, WhenTaken whenTaken) const
{
    document.finish([intake = intake_, arrived = arrived(job),
                     taken = onQueue(std::move(whenTaken))](const auto& file) {
        intake->take(arrived, file, taken);
    });
}

void JobReception::add(const PendingJob& job, ReceivedDocument& document, WhenAdded whenAdded) const
{
    document.finish(
        [weak = weak_from_this(), queue = intake_->environment().queue, joined = job.document,
         whenAdded = std::move(whenAdded)](const Result<DocumentFile, SystemError>& file) {
            const auto added =
                file.and_then([&](const DocumentFile& content) { return joined->append(content); });
            queue->async([weak, added, whenAdded] {
                if (weak.lock()) whenAdded(added);
            });
        });
}

void JobReception::finish(const PendingJob& job, ReceivedDocument* last, WhenTaken whenTaken) const
{
    const auto finish =
        [intake = intake_, arrived = arrived(*job.job), joined = job.document,
         taken = onQueue(std::move(whenTaken))](const Result<DocumentFile, SystemError>& document) {
            const auto whole = document
                                   .and_then([&](const DocumentFile& content) {
                                       if (!content.file) return Result<bool, SystemError>(true);
                                       return joined->append(content);
                                   })
                                   .map([&](bool) { return joined->take(); });
            intake->take(arrived, whole, taken);
        };
    if (last != nullptr) {
        last->finish(finish);
    } else {
        intake_->environment().background.async([finish] { finish(DocumentFile{}); });
    }
}

void JobReception::logFailure(const IntakeError& error, std::string_view refusal) const
{
    if (error.kind == IntakeError::Kind::canceled) return;
    if (!error.isRefusal()) {
        log().error("IPPServer: can't take a job: " + error.description);
        return;
    }
    log().error(fmt::format("IPPServer: {} — {}", refusal, error.description));
    if (error.keptAt) {
        log().note(fmt::format("IPPServer: the rejected document is kept as \"{}\"",
                               error.keptAt->string()));
    }
}

ArrivedJob JobReception::arrived(const KnownJob& job) const
{
    return {.job = job.progress, .traits = job.traits};
}

JobIntake::Completion JobReception::onQueue(WhenTaken whenTaken) const
{
    return
        [weak = weak_from_this(), whenTaken = std::move(whenTaken)](const JobIntake::Taken& taken) {
            if (weak.lock()) whenTaken(taken);
        };
}

} // namespace korvane
