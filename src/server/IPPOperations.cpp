#include "server/IPPOperations.h"

#include "base/DocumentMapping.h"
#include "base/TimeText.h"
#include "document/TemporaryDocument.h"
#include "ipp/DocumentFormat.h"
#include "ipp/IPPCodec.h"
#include "ipp/PrinterAttributes.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>
#include <variant>

namespace korvane {

namespace {

/** job-state values (RFC 8011, section 5.3.7). */
constexpr std::int32_t jobStatePendingHeld = 4;
constexpr std::int32_t jobStateCompleted = 9;

/** The first value of an operation attribute, if it is there and of that kind. */
template <typename Value>
std::optional<Value> firstOperationValue(const IPPMessage& request, std::string_view name)
{
    const IPPAttribute* attribute = ipp::findAttribute(request, name, IPPTag::operationAttributes);
    if (attribute == nullptr || attribute->values.empty()) return {};
    if (const auto* value = std::get_if<Value>(&attribute->values.front())) return *value;
    return {};
}

IPPMessage makeResponse(const IPPMessage& request, IPPStatus status,
                        std::vector<IPPAttributeGroup> groups)
{
    IPPMessage response;
    response.versionMajor = request.versionMajor;
    response.versionMinor = request.versionMinor;
    response.code = static_cast<std::uint16_t>(status);
    response.requestID = request.requestID;
    response.groups.push_back(
        {.tag = IPPTag::operationAttributes,
         .attributes = {ipp::makeTextAttribute("attributes-charset", {"utf-8"}, IPPTag::charset),
                        ipp::makeTextAttribute("attributes-natural-language", {"en"},
                                               IPPTag::naturalLanguage)}});
    std::ranges::move(groups, std::back_inserter(response.groups));
    return response;
}

} // namespace

IPPOperations::IPPOperations(std::shared_ptr<SerialQueue> queue, Queue& files,
                             DocumentService& converter, const Clock& clock, Log& log,
                             MemoryQuota documents, DescriptorProvider descriptorProvider,
                             JobHandler jobHandler)
    : queue_(std::move(queue)), files_(files), converter_(converter), clock_(clock), log_(log),
      documents_(std::move(documents)), descriptorProvider_(std::move(descriptorProvider)),
      jobHandler_(std::move(jobHandler)), pendingJobBuffers_(*queue_, log, {})
{
}

void IPPOperations::handleRequest(const HTTPRequest& request, const Answer& answer)
{
    auto decoded = ipp::decode(documents_.track(request.body));
    if (!decoded) {
        log_.error(fmt::format("IPPServer: IPP decode failed ({} body bytes): {}",
                               request.body.size(), decoded.error().description()));
        answer({.status = "400 Bad Request", .body = {}});
        return;
    }
    IPPMessage& message = *decoded;
    // A slice keeps the whole body: not worth it for a small document behind many attributes.
    if (message.documentData.size() < request.body.size() / 2) {
        message.documentData = documents_.track(Data::copying(message.documentData.bytes()));
    }
    const IPPOperationName* operation = findIPPOperation(message.code);
    log_.note(fmt::format("IPPServer: op={} reqID={} bodyBytes={} docBytes={}",
                          operation != nullptr ? std::string(operation->name)
                                               : fmt::format("0x{:x}", message.code),
                          message.requestID, request.body.size(), message.documentData.size()));

    const IPPMessage header{.versionMajor = message.versionMajor,
                            .versionMinor = message.versionMinor,
                            .code = message.code,
                            .requestID = message.requestID};
    const Completion respond = [header, answer](Outcome outcome) {
        const IPPMessage response = makeResponse(header, outcome.status, std::move(outcome.groups));
        answer({.status = "200 OK", .body = ipp::encode(response)});
    };
    if (operation != nullptr) {
        perform(operation->operation, message, respond);
    } else {
        respond({.status = IPPStatus::serverErrorOperationNotSupported});
    }
}

void IPPOperations::perform(IPPOperation operation, const IPPMessage& request,
                            const Completion& completion)
{
    switch (operation) {
    case IPPOperation::printJob: printJob(request, completion); return;
    case IPPOperation::createJob: completion(createJob(request)); return;
    case IPPOperation::sendDocument: sendDocument(request, completion); return;
    case IPPOperation::getJobAttributes: completion(completedJob(1)); return;
    case IPPOperation::getPrinterAttributes:
        completion({.groups = {ipp::makePrinterAttributes(descriptorProvider_())}});
        return;
    case IPPOperation::validateJob:
    case IPPOperation::cancelJob:
    case IPPOperation::getJobs: completion({}); return;
    }
}

void IPPOperations::printJob(const IPPMessage& request, const Completion& completion)
{
    if (request.documentData.empty()) {
        completion({.status = IPPStatus::clientErrorBadRequest});
        return;
    }
    submit({.name = jobName(request), .document = request.documentData}, completion);
}

IPPOperations::Outcome IPPOperations::createJob(const IPPMessage& request)
{
    const std::int32_t id = takeJobID();
    pendingJobBuffers_.open(id, jobName(request));
    return {.groups = {makeJobGroup(id, jobStatePendingHeld, "job-incoming")}};
}

void IPPOperations::sendDocument(const IPPMessage& request, const Completion& completion)
{
    const auto namedID = firstOperationValue<ipp::Integer>(request, "job-id");
    const std::int32_t id = namedID ? namedID->value : 0;
    const auto last = firstOperationValue<ipp::Boolean>(request, "last-document");
    if (last && !last->value) {
        const auto appended = pendingJobBuffers_.append(id, request.documentData);
        appended == PendingJobs::Appended::tooLarge
            ? completion({.status = IPPStatus::serverErrorInternalError})
            : completion(completedJob(id));
        return;
    }
    auto job = pendingJobBuffers_.take(id);
    if (!job) {
        completion(completedJob(id));
        return;
    }
    if (!request.documentData.empty()) job->documents.push_back(request.documentData);
    submit({.name = job->jobName, .document = joined(job->documents), .id = id}, completion);
}

/** Has the document made PDF, and hands the job on. */
void IPPOperations::submit(const SubmittedJob& job, const Completion& completion)
{
    const DocumentFormat* format = recognizeFormat(job.document.text());
    if (format != nullptr && format->conversion == DocumentFormat::Conversion::none)
        return finish(job, job.document, completion);
    const auto normalized = [weak = weak_from_this(), queue = queue_, job,
                             completion](const Result<DocumentFile, NormalizeError>& pdf) {
        queue->async([weak, job, completion, pdf] {
            const auto self = weak.lock();
            if (!self) return;
            const auto data = pdf.and_then([](const DocumentFile& file) {
                return mapDocument(file).map_error([](SystemError error) {
                    return NormalizeError{NormalizeError::StorageFailed{error}};
                });
            });
            self->finish(job, data, completion);
        });
    };
    files_.async([&converter = converter_, document = job.document, normalized] {
        const auto file = writeTemporaryDocument(document);
        if (!file)
            return normalized(failure(NormalizeError{NormalizeError::StorageFailed{file.error()}}));
        DocumentNormalizer::normalize(*file, converter, makeTemporaryFile, normalized);
    });
}

void IPPOperations::finish(const SubmittedJob& job, const Normalized& pdf,
                           const Completion& completion)
{
    if (!pdf) {
        const std::string refusal = job.id
                                        ? fmt::format("send-document for job {} rejected", *job.id)
                                        : "rejecting unrecognized document";
        log_.error(fmt::format("IPPServer: {} — {}", refusal, pdf.error().description()));
        return completion({.status = pdf.error().isRefusal()
                                         ? IPPStatus::clientErrorDocumentFormatNotSupported
                                         : IPPStatus::serverErrorInternalError});
    }
    const std::int32_t id = job.id ? *job.id : takeJobID();
    jobHandler_(job.name, *pdf);
    completion(completedJob(id));
}

/** One document after the other; a single one is not copied. */
Data IPPOperations::joined(const std::vector<Data>& documents) const
{
    return documents.size() == 1 ? documents.front() : documents_.track(Data::joining(documents));
}

std::string IPPOperations::jobName(const IPPMessage& request) const
{
    const auto name = firstOperationValue<ipp::Text>(request, "job-name");
    if (name && !name->text.empty()) return name->text;
    return "Print Job " + utcTimestamp(clock_.now());
}

std::int32_t IPPOperations::takeJobID()
{
    const std::int32_t id = nextJobID_;
    nextJobID_ = id == std::numeric_limits<std::int32_t>::max() ? 1 : id + 1;
    return id;
}

IPPOperations::Outcome IPPOperations::completedJob(std::int32_t id) const
{
    return {.groups = {makeJobGroup(id, jobStateCompleted, "job-completed-successfully")}};
}

IPPAttributeGroup IPPOperations::makeJobGroup(std::int32_t id, std::int32_t state,
                                              std::string_view reason) const
{
    const std::string uri = fmt::format("{}/{}", descriptorProvider_().uri, id);
    return {.tag = IPPTag::jobAttributes,
            .attributes = {
                ipp::makeTextAttribute("job-uri", {uri}, IPPTag::uri),
                ipp::makeNumberAttribute<ipp::Integer>("job-id", {id}),
                ipp::makeNumberAttribute<ipp::EnumValue>("job-state", {state}),
                ipp::makeTextAttribute("job-state-reasons", {std::string(reason)}, IPPTag::keyword),
            }};
}

} // namespace korvane
