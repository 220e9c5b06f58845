#include "server/EverywhereJobs.h"

#include "ipp/RequestedPages.h"
#include "server/JobAccess.h"
#include "text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace korvane {

namespace {

IPPOutcome badRequest(const char* message)
{
    return {.status = IPPStatus::clientErrorBadRequest, .message = message};
}

/** As much as is told of it (RFC 8011 section 5.1.3). */
std::string documentNameOf(const IPPMessage& request)
{
    return std::string(text::prefixOfSequences(operationText(request, "document-name"), 255));
}

IPPStatus statusOf(IntakeError::Kind kind)
{
    switch (kind) {
    case IntakeError::Kind::unknownFormat: return IPPStatus::clientErrorDocumentFormatNotSupported;
    case IntakeError::Kind::damaged: return IPPStatus::clientErrorDocumentFormatError;
    case IntakeError::Kind::compression: return IPPStatus::clientErrorCompressionError;
    case IntakeError::Kind::canceled: return IPPStatus::serverErrorJobCanceled;
    case IntakeError::Kind::notKept: break;
    }
    return IPPStatus::serverErrorInternalError;
}

} // namespace

EverywhereJobs::EverywhereJobs(std::shared_ptr<JobReception> jobs) : jobs_(std::move(jobs)) {}

PreparedRequest EverywhereJobs::print(const CheckedRequest& checked)
{
    if (!checked.arriving.isMoreToCome) {
        return answered(checked.responder(), badRequest("There is no document."));
    }
    const auto job = makeJob(checked);
    jobs_->jobs().add(job);
    const auto upload = beginUpload(job, checked.responder(), DocumentUpload::Kind::onlyChance);
    const auto document = jobs_->makeDocument(checked.arriving.onWritten);
    return {.perform =
                [self = shared_from_this(), job, upload, document, responder = checked.responder(),
                 outcome = granted(checked.jobTemplate.unsupported)](std::uint64_t bytes) {
                    if (bytes == 0) return responder.send(badRequest("There is no document."));
                    upload->finish();
                    job->bytes = bytes;
                    job->documents = 1;
                    self->jobs_->take(*job, *document, self->whenTaken(responder, job, outcome));
                },
            .document = document,
            .refuse =
                [job, responder = checked.responder()](const SystemError& error) {
                    job->progress->abort("aborted-by-system", error.description());
                    responder.send(error);
                }};
}

PreparedRequest EverywhereJobs::create(const CheckedRequest& checked)
{
    return answered(
        checked.responder(),
        [self = shared_from_this(), job = makeJob(checked), host = checked.request().host,
         outcome = granted(checked.jobTemplate.unsupported)]() mutable -> IPPOutcome {
            job->id = self->jobs_->jobs().takeID();
            if (!self->jobs_->pending().open(job)) {
                self->jobs_->log().error("IPPServer: refusing a job: too many unfinished jobs");
                return {.status = IPPStatus::serverErrorBusy};
            }
            self->jobs_->jobs().add(job);
            outcome.groups.push_back(self->groupOf(*job, host));
            return outcome;
        });
}

PreparedRequest EverywhereJobs::sendDocument(const CheckedRequest& checked)
{
    const auto found = access::jobForDocument(*jobs_, checked.jobID, checked.request());
    if (!found) return answered(checked.responder(), found.error());
    const auto& job = *found;
    if (const auto closed = whyClosed(*job)) return answered(checked.responder(), *closed);
    if (!operationValue<ipp::Boolean>(checked.message(), "last-document")) {
        return answered(checked.responder(), badRequest("last-document is missing."));
    }
    const bool takesDocument =
        checked.arriving.isMoreToCome && job->documents == 0 && !job->isReceiving;
    const auto document = takesDocument ? jobs_->makeDocument(checked.arriving.onWritten) : nullptr;
    auto upload = takesDocument
                      ? beginUpload(job, checked.responder(), DocumentUpload::Kind::replaceable)
                      : nullptr;
    if (takesDocument) {
        job->traits.compression = checked.request().traits.compression;
        job->documentFormat = operationText(checked.message(), "document-format");
        job->documentName = documentNameOf(checked.message());
    }
    return {.perform =
                [self = shared_from_this(), job, upload, document, responder = checked.responder(),
                 arrival = jobs_->pending().beginArrival(job->id)](std::uint64_t bytes) mutable {
                    if (upload && bytes > 0) upload->finish();
                    upload.reset();
                    self->finishDocument(responder, job, document.get(), bytes, arrival);
                },
            .document = document,
            .refuse = [responder = checked.responder()](
                          const SystemError& error) { responder.send(error); }};
}

void EverywhereJobs::finishDocument(const IPPResponder& responder,
                                    const std::shared_ptr<KnownJob>& job,
                                    ReceivedDocument* document, std::uint64_t bytes,
                                    const PendingJobs::Arrival& arrival)
{
    const IPPRequest& request = responder.request();
    if (const auto closed = whyClosed(*job)) return responder.send(*closed);
    if (bytes > 0 && document == nullptr) {
        return responder.send({.status = IPPStatus::serverErrorMultipleDocumentJobsNotSupported,
                               .message = "A job has one document."});
    }
    if (bytes == 0) {
        return responder.send(request.isLastDocument
                                  ? closeJob(job, request)
                                  : IPPOutcome{.groups = {groupOf(*job, request.host)}});
    }
    job->bytes = bytes;
    job->documents = 1;
    if (request.isLastDocument) {
        jobs_->finish(*jobs_->pending().take(job->id), document, whenTaken(responder, job, {}));
        return;
    }
    jobs_->add(
        *jobs_->pending().find(job->id), *document,
        [weak = weak_from_this(), job, responder, arrival](const Result<bool, SystemError>& added) {
            const auto self = weak.lock();
            if (!self) return;
            job->isReceiving = false;
            if (added)
                return responder.send({.groups = {self->groupOf(*job, responder.request().host)}});
            self->jobs_->log().error("IPPServer: can't take a document: " +
                                     added.error().description());
            job->documents = 0;
            responder.send(added.error());
        });
}

PreparedRequest EverywhereJobs::close(const CheckedRequest& checked)
{
    return answered(checked.responder(),
                    [self = shared_from_this(), id = checked.jobID,
                     request = checked.request()]() -> IPPOutcome {
                        const auto job = access::ownJob(*self->jobs_, id, request.host);
                        if (!job) return job.error();
                        if (const auto closed = self->whyClosed(**job)) return *closed;
                        return self->closeJob(*job, request);
                    });
}

/** Nothing more comes for the job. */
IPPOutcome EverywhereJobs::closeJob(const std::shared_ptr<KnownJob>& job, const IPPRequest& request)
{
    if (job->isReceiving) {
        return {.status = IPPStatus::clientErrorNotPossible,
                .message = "The document is still arriving."};
    }
    const auto pending = jobs_->pending().take(job->id);
    if (job->documents == 0) {
        job->progress->abort("aborted-by-system", "There was no document");
    } else {
        job->isReceiving = true;
        jobs_->finish(*pending, nullptr,
                      [weak = weak_from_this(), job](const JobIntake::Taken& taken) {
                          job->isReceiving = false;
                          const auto self = weak.lock();
                          if (self && !taken) self->logFailure(taken.error(), *job);
                      });
    }
    return {.groups = {groupOf(*job, request.host)}};
}

std::shared_ptr<KnownJob> EverywhereJobs::makeJob(const CheckedRequest& checked) const
{
    auto job = jobs_->makeJob(checked.request());
    job->settings = checked.jobTemplate.settings;
    job->traits.pages = ipp::requestedPages(checked.message());
    job->documentFormat = operationText(checked.message(), "document-format");
    job->documentName = documentNameOf(checked.message());
    return job;
}

/** Who sends a document is told at once when its job is canceled. */
std::shared_ptr<DocumentUpload> EverywhereJobs::beginUpload(const std::shared_ptr<KnownJob>& job,
                                                            const IPPResponder& responder,
                                                            DocumentUpload::Kind kind) const
{
    job->progress->onCancel([weak = std::weak_ptr(jobs_), responder] {
        const auto jobs = weak.lock();
        if (!jobs) return;
        jobs->queue().async([responder] { responder.send(access::canceled()); });
    });
    return std::make_shared<DocumentUpload>(job, kind);
}

std::optional<IPPOutcome> EverywhereJobs::whyClosed(const KnownJob& job) const
{
    if (job.progress->isCanceled()) return access::canceled();
    if (jobs_->pending().find(job.id) != nullptr) return {};
    return IPPOutcome{.status = IPPStatus::clientErrorNotPossible,
                      .message = "The job takes no more documents."};
}

JobReception::WhenTaken EverywhereJobs::whenTaken(const IPPResponder& responder,
                                                  const std::shared_ptr<KnownJob>& job,
                                                  IPPOutcome outcome) const
{
    return [weak = weak_from_this(), responder, job,
            outcome = std::move(outcome)](const JobIntake::Taken& taken) mutable {
        job->isReceiving = false;
        const auto self = weak.lock();
        if (!self) return;
        if (!taken) return self->fail(responder, taken.error(), *job);
        outcome.groups.push_back(self->groupOf(*job, responder.request().host));
        responder.send(std::move(outcome));
    };
}

void EverywhereJobs::fail(const IPPResponder& responder, const IntakeError& error,
                          const KnownJob& job) const
{
    logFailure(error, job);
    if (error.storage) return responder.send(*error.storage);
    responder.send({.status = statusOf(error.kind), .message = error.description});
}

void EverywhereJobs::logFailure(const IntakeError& error, const KnownJob& job) const
{
    jobs_->logFailure(error, fmt::format("job {} rejected", job.id));
}

IPPAttributeGroup EverywhereJobs::groupOf(const KnownJob& job, const std::string& host) const
{
    return makeJobGroup(jobs_->view(job, jobs_->printer().descriptor(), host));
}

} // namespace korvane
