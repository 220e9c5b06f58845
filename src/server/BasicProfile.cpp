#include "server/BasicProfile.h"

#include "ipp/PrinterAttributes.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane {

namespace {

std::function<void(const SystemError&)> refusing(const IPPResponder& responder)
{
    return [responder](const SystemError& error) { responder.send(error); };
}

} // namespace

const BasicProfile::Operation BasicProfile::operations[] = {
    {IPPOperation::printJob, &BasicProfile::printJob},
    {IPPOperation::validateJob, &BasicProfile::succeed},
    {IPPOperation::createJob, &BasicProfile::createJob},
    {IPPOperation::sendDocument, &BasicProfile::sendDocument},
    {IPPOperation::cancelJob, &BasicProfile::succeed},
    {IPPOperation::getJobAttributes, &BasicProfile::describeFirstJob},
    {IPPOperation::getJobs, &BasicProfile::succeed},
    {IPPOperation::getPrinterAttributes, &BasicProfile::describePrinter},
};

BasicProfile::BasicProfile(std::shared_ptr<JobReception> jobs) : jobs_(std::move(jobs)) {}

PreparedRequest BasicProfile::prepare(const ArrivingRequest& arriving)
{
    const IPPOperationName* named = arriving.request().operation;
    if (named == nullptr) {
        return answered(arriving.responder, [] {
            return IPPOutcome{.status = IPPStatus::serverErrorOperationNotSupported};
        });
    }
    const auto* found = std::ranges::find(operations, named->operation, &Operation::operation);
    return (this->*found->prepare)(arriving);
}

HTTPResponse BasicProfile::answer(const HTTPRequest& request)
{
    if (request.method != "GET") return {.status = "415 Unsupported Media Type", .body = {}};
    return {.status = "200 OK",
            .contentType = "text/plain",
            .body = Data::copying("Korvane IPP endpoint\n")};
}

PreparedRequest BasicProfile::printJob(const ArrivingRequest& arriving)
{
    const auto document = arriving.isMoreToCome ? jobs_->makeDocument(arriving.onWritten) : nullptr;
    return {.perform =
                [weak = weak_from_this(), jobs = jobs_, document,
                 job = jobs_->makeJob(arriving.request()),
                 responder = arriving.responder](std::uint64_t documentBytes) {
                    if (documentBytes == 0)
                        return responder.send({.status = IPPStatus::clientErrorBadRequest});
                    job->bytes = documentBytes;
                    job->documents = 1;
                    job->progress->receive();
                    const auto whenTaken = [weak, job, responder](const JobIntake::Taken& taken) {
                        const auto self = weak.lock();
                        if (!self) return;
                        // A job has an id once it is taken.
                        if (taken) self->jobs_->jobs().add(job);
                        self->report(responder, taken, "rejecting unrecognized document", job->id);
                    };
                    jobs->take(*job, *document, whenTaken);
                },
            .document = document,
            .refuse = refusing(arriving.responder)};
}

PreparedRequest BasicProfile::createJob(const ArrivingRequest& arriving)
{
    return answered(
        arriving.responder,
        [self = shared_from_this(), job = jobs_->makeJob(arriving.request())]() -> IPPOutcome {
            job->id = self->jobs_->jobs().takeID();
            if (!self->jobs_->pending().open(job)) {
                self->jobs_->log().error("IPPServer: refusing a job: too many unfinished jobs");
                return {.status = IPPStatus::serverErrorBusy};
            }
            self->jobs_->jobs().add(job);
            return {.groups = {self->makeJobGroup(job->id,
                                                  static_cast<std::int32_t>(JobState::pendingHeld),
                                                  "job-incoming")}};
        });
}

PreparedRequest BasicProfile::sendDocument(const ArrivingRequest& arriving)
{
    const auto arrival = jobs_->pending().beginArrival(arriving.request().jobID);
    const auto document =
        arrival && arriving.isMoreToCome ? jobs_->makeDocument(arriving.onWritten) : nullptr;
    return {.perform =
                [self = shared_from_this(), responder = arriving.responder, arrival,
                 document](std::uint64_t documentBytes) {
                    self->finishDocument(responder, arrival, document.get(), documentBytes);
                },
            .document = document,
            .refuse = refusing(arriving.responder)};
}

void BasicProfile::finishDocument(const IPPResponder& responder,
                                  const PendingJobs::Arrival& arrival, ReceivedDocument* document,
                                  std::uint64_t documentBytes)
{
    const std::int32_t id = responder.request().jobID;
    const bool isLast = responder.request().isLastDocument;
    const PendingJob* pending = jobs_->pending().find(id);
    const bool hasDocument = documentBytes > 0;
    if (hasDocument && (pending == nullptr || document == nullptr))
        return responder.send({.status = IPPStatus::clientErrorNotFound});
    if (pending == nullptr || (!isLast && !hasDocument)) return responder.send(completedJob(id));
    pending->job->bytes += documentBytes;
    pending->job->documents += hasDocument ? 1 : 0;
    pending->job->progress->receive();
    const auto weak = weak_from_this();
    if (isLast) {
        const PendingJob job = *jobs_->pending().take(id);
        const auto whenTaken = [weak, responder, id](const JobIntake::Taken& taken) {
            const auto self = weak.lock();
            if (!self) return;
            self->report(responder, taken, fmt::format("send-document for job {} rejected", id),
                         id);
        };
        jobs_->finish(job, hasDocument ? document : nullptr, whenTaken);
        return;
    }
    jobs_->add(*pending, *document,
               [weak, responder, arrival, id](const Result<bool, SystemError>& added) {
                   const auto self = weak.lock();
                   if (!self) return;
                   if (!added) {
                       self->jobs_->log().error("IPPServer: can't take a document: " +
                                                added.error().description());
                       responder.send(added.error());
                   } else if (*added) {
                       responder.send(self->completedJob(id));
                   } else {
                       responder.send({.status = IPPStatus::clientErrorNotFound});
                   }
               });
}

PreparedRequest BasicProfile::describePrinter(const ArrivingRequest& arriving)
{
    return answered(arriving.responder, [jobs = jobs_] {
        return IPPOutcome{.groups = {ipp::makePrinterAttributes(jobs->printer().descriptor())}};
    });
}

PreparedRequest BasicProfile::describeFirstJob(const ArrivingRequest& arriving)
{
    return answered(arriving.responder,
                    [self = shared_from_this()] { return self->completedJob(1); });
}

PreparedRequest BasicProfile::succeed(const ArrivingRequest& arriving)
{
    return answered(arriving.responder, [] { return IPPOutcome{}; });
}

void BasicProfile::report(const IPPResponder& responder, const JobIntake::Taken& taken,
                          std::string_view refusal, std::int32_t id) const
{
    if (taken) return responder.send(completedJob(id));
    const IntakeError& error = taken.error();
    jobs_->logFailure(error, refusal);
    if (error.isRefusal())
        return responder.send({.status = IPPStatus::clientErrorDocumentFormatNotSupported});
    if (error.storage) return responder.send(*error.storage);
    responder.send({.status = IPPStatus::serverErrorInternalError});
}

IPPOutcome BasicProfile::completedJob(std::int32_t id) const
{
    return {.groups = {makeJobGroup(id, static_cast<std::int32_t>(JobState::completed),
                                    "job-completed-successfully")}};
}

IPPAttributeGroup BasicProfile::makeJobGroup(std::int32_t id, std::int32_t state,
                                             std::string_view reason) const
{
    const std::string uri = fmt::format("{}/{}", jobs_->printer().descriptor().uri, id);
    return {.tag = IPPTag::jobAttributes,
            .attributes = {
                ipp::makeTextAttribute("job-uri", {uri}, IPPTag::uri),
                ipp::makeNumberAttribute<ipp::Integer>("job-id", {id}),
                ipp::makeNumberAttribute<ipp::EnumValue>("job-state", {state}),
                ipp::makeTextAttribute("job-state-reasons", {std::string(reason)}, IPPTag::keyword),
            }};
}

} // namespace korvane
