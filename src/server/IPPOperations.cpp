#include "server/IPPOperations.h"

#include "base/TimeText.h"
#include "ipp/PrinterAttributes.h"

#include <fmt/format.h>

#include <limits>
#include <utility>

namespace korvane {

namespace {

/** job-state values (RFC 8011, section 5.3.7). */
constexpr std::int32_t jobStatePendingHeld = 4;
constexpr std::int32_t jobStateCompleted = 9;

} // namespace

IPPOperations::IPPOperations(std::shared_ptr<const JobIntake> intake, const Clock& clock)
    : intake_(std::move(intake)), clock_(clock),
      room_(std::make_shared<SpoolRoom>(intake_->environment().spool)),
      pendingJobBuffers_(
          std::make_shared<PendingJobs>(intake_->environment().queue, log(), PendingJobs::Limits{}))
{
}

std::optional<ArrivingDocument> IPPOperations::beginDocument(const IPPRequest& request,
                                                             std::function<void()> onWritten) const
{
    if (request.operation == nullptr) return {};
    const IPPOperation operation = request.operation->operation;
    auto arrival = operation == IPPOperation::sendDocument
                       ? pendingJobBuffers_->beginArrival(request.jobID)
                       : nullptr;
    if (operation != IPPOperation::printJob && !arrival) return {};
    const IntakeEnvironment& environment = intake_->environment();
    return ArrivingDocument{
        std::make_shared<ReceivedDocument>(environment.queue, environment.background,
                                           environment.spool, room_, std::move(onWritten)),
        std::move(arrival)};
}

void IPPOperations::perform(const IPPRequest& request, std::uint64_t documentBytes,
                            std::optional<ArrivingDocument> document, const Answer& answer)
{
    const Completion respond = [&](IPPOutcome outcome) {
        answer(makeResponse(request, std::move(outcome)));
    };
    if (request.operation == nullptr) {
        respond({.status = IPPStatus::serverErrorOperationNotSupported});
        return;
    }
    switch (request.operation->operation) {
    case IPPOperation::printJob:
        documentBytes > 0 ? printJob(request, *document, answer)
                          : respond({.status = IPPStatus::clientErrorBadRequest});
        return;
    case IPPOperation::createJob: respond(createJob(request)); return;
    case IPPOperation::sendDocument: sendDocument(request, documentBytes, document, answer); return;
    case IPPOperation::getJobAttributes: respond(completedJob(1)); return;
    case IPPOperation::getPrinterAttributes:
        respond({.groups = {ipp::makePrinterAttributes(intake_->printer().descriptor())}});
        return;
    case IPPOperation::validateJob:
    case IPPOperation::cancelJob:
    case IPPOperation::getJobs: respond({}); return;
    }
}

void IPPOperations::printJob(const IPPRequest& request, const ArrivingDocument& document,
                             const Answer& answer)
{
    document.content->finish(
        [intake = intake_, job = makeJob(request),
         taken = whenTaken({.request = request, .id = {}}, answer)](const auto& file) {
            intake->take({.job = job, .traits = {}}, file, taken);
        });
}

IPPOutcome IPPOperations::createJob(const IPPRequest& request)
{
    const std::int32_t id = takeJobID();
    if (!pendingJobBuffers_->open(id, jobName(request))) {
        log().error("IPPServer: refusing a job: too many unfinished jobs");
        return {.status = IPPStatus::serverErrorBusy};
    }
    return {.groups = {makeJobGroup(id, jobStatePendingHeld, "job-incoming")}};
}

void IPPOperations::sendDocument(const IPPRequest& request, std::uint64_t documentBytes,
                                 const std::optional<ArrivingDocument>& document,
                                 const Answer& answer)
{
    const PendingJob* job = pendingJobBuffers_->find(request.jobID);
    const bool hasDocument = documentBytes > 0;
    if (hasDocument && (job == nullptr || !document)) {
        answer(makeResponse(request, {.status = IPPStatus::clientErrorNotFound}));
    } else if (job == nullptr || (!request.isLastDocument && !hasDocument)) {
        answer(makeResponse(request, completedJob(request.jobID)));
    } else if (!request.isLastDocument) {
        addDocument(request, *job, *document, answer);
    } else {
        finishJob(request, *pendingJobBuffers_->take(request.jobID),
                  hasDocument ? document : std::nullopt, answer);
    }
}

/** Joins a document to those of its job; others may follow. */
void IPPOperations::addDocument(const IPPRequest& request, const PendingJob& job,
                                const ArrivingDocument& document, const Answer& answer) const
{
    document.content->finish([weak = weak_from_this(), queue = intake_->environment().queue,
                              request, joined = job.document, arrival = document.arrival,
                              answer](const Result<DocumentFile, SystemError>& file) {
        const auto added =
            file.and_then([&](const DocumentFile& content) { return joined->append(content); });
        queue->async([weak, request, added, arrival, answer] {
            const auto self = weak.lock();
            if (!self) return;
            if (!added) {
                self->log().error("IPPServer: can't take a document: " +
                                  added.error().description());
                answer(makeResponse(request, added.error()));
            } else if (*added) {
                answer(makeResponse(request, self->completedJob(request.jobID)));
            } else {
                answer(makeResponse(request, {.status = IPPStatus::clientErrorNotFound}));
            }
        });
    });
}

/** Takes a job in whose last document is there. */
void IPPOperations::finishJob(const IPPRequest& request, const PendingJob& job,
                              const std::optional<ArrivingDocument>& document, const Answer& answer)
{
    const auto finish = [intake = intake_, job,
                         arrived =
                             std::make_shared<PrintJob>(JobOrigin{.name = job.jobName}, clock_),
                         taken = whenTaken({.request = request, .id = request.jobID}, answer)](
                            const Result<DocumentFile, SystemError>& last) {
        const auto whole = last.and_then([&](const DocumentFile& content) {
                                   if (!content.file) return Result<bool, SystemError>(true);
                                   return job.document->append(content);
                               })
                               .map([&](bool) { return job.document->take(); });
        intake->take({.job = arrived, .traits = {}}, whole, taken);
    };
    if (document) {
        document->content->finish(finish);
    } else {
        intake_->environment().background.async([finish] { finish(DocumentFile{}); });
    }
}

JobIntake::Completion IPPOperations::whenTaken(SubmittedJob job, Answer answer)
{
    return [weak = weak_from_this(), job = std::move(job),
            answer = std::move(answer)](const JobIntake::Taken& taken) {
        if (const auto self = weak.lock()) answer(self->report(job, taken));
    };
}

HTTPResponse IPPOperations::report(const SubmittedJob& job, const JobIntake::Taken& taken)
{
    if (taken) {
        const std::int32_t id = job.id ? *job.id : takeJobID();
        return makeResponse(job.request, completedJob(id));
    }
    const IntakeError& error = taken.error();
    if (!error.isRefusal) {
        log().error("IPPServer: can't take a job: " + error.description);
        if (error.storage) return makeResponse(job.request, *error.storage);
        return makeResponse(job.request, {.status = IPPStatus::serverErrorInternalError});
    }
    const std::string refusal = job.id ? fmt::format("send-document for job {} rejected", *job.id)
                                       : "rejecting unrecognized document";
    log().error(fmt::format("IPPServer: {} — {}", refusal, error.description));
    if (error.keptAt) {
        log().note(fmt::format("IPPServer: the rejected document is kept as \"{}\"",
                               error.keptAt->string()));
    }
    return makeResponse(job.request, {.status = IPPStatus::clientErrorDocumentFormatNotSupported});
}

std::string IPPOperations::jobName(const IPPRequest& request) const
{
    if (!request.jobName.empty()) return request.jobName;
    return "Print Job " + utcTimestamp(clock_.now());
}

std::shared_ptr<PrintJob> IPPOperations::makeJob(const IPPRequest& request) const
{
    return std::make_shared<PrintJob>(JobOrigin{.name = jobName(request)}, clock_);
}

std::int32_t IPPOperations::takeJobID()
{
    const std::int32_t id = nextJobID_;
    nextJobID_ = id == std::numeric_limits<std::int32_t>::max() ? 1 : id + 1;
    return id;
}

IPPOutcome IPPOperations::completedJob(std::int32_t id) const
{
    return {.groups = {makeJobGroup(id, jobStateCompleted, "job-completed-successfully")}};
}

IPPAttributeGroup IPPOperations::makeJobGroup(std::int32_t id, std::int32_t state,
                                              std::string_view reason) const
{
    const std::string uri = fmt::format("{}/{}", intake_->printer().descriptor().uri, id);
    return {.tag = IPPTag::jobAttributes,
            .attributes = {
                ipp::makeTextAttribute("job-uri", {uri}, IPPTag::uri),
                ipp::makeNumberAttribute<ipp::Integer>("job-id", {id}),
                ipp::makeNumberAttribute<ipp::EnumValue>("job-state", {state}),
                ipp::makeTextAttribute("job-state-reasons", {std::string(reason)}, IPPTag::keyword),
            }};
}

} // namespace korvane
