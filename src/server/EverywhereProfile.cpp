#include "server/EverywhereProfile.h"

#include "ipp/EverywhereAttributes.h"
#include "ipp/RequestedAttributes.h"
#include "server/JobCancellation.h"
#include "server/JobQueries.h"
#include "server/RequestChecks.h"
#include "text/Text.h"

#include <algorithm>
#include <string>
#include <utility>

namespace korvane {

namespace {

/** As long as a message to the user may be: text(127) of PWG 5100.13. */
constexpr std::size_t maxMessage = 127;

/** For pages only: a browser loads nothing for them but their own pictures, and takes them for
 *  nothing but what they are. */
const std::vector<std::string> pageHeaders = {
    "Content-Security-Policy: default-src 'none'; img-src 'self'; style-src 'unsafe-inline'",
    "X-Content-Type-Options: nosniff",
    "Referrer-Policy: no-referrer",
};

HTTPResponse notFoundPage()
{
    return {.status = "404 Not Found",
            .contentType = "text/html; charset=utf-8",
            .body = Data::copying("<!DOCTYPE html>\n<title>Not found</title>\n"
                                  "<p>There is no such page. <a href=\"/\">The printer</a></p>\n")};
}

/** The answer to a version that is not supported has the closest one that is (RFC 8011 section
 *  4.1.8). */
IPPResponder inSupportedVersion(const ArrivingRequest& arriving)
{
    IPPResponder responder = arriving.responder;
    const std::uint8_t major = arriving.message.versionMajor;
    if (major == 0) responder.answerInVersion(1, 1);
    if (major > 2) responder.answerInVersion(2, 0);
    return responder;
}

} // namespace

const EverywhereProfile::Operation EverywhereProfile::operations[] = {
    {IPPOperation::printJob, Target::printer,
     [](auto& profile, const auto& checked) { return profile.submissions_->print(checked); }},
    {IPPOperation::validateJob, Target::printer,
     [](auto&, const auto& checked) {
         return answered(checked.responder(), granted(checked.jobTemplate.unsupported));
     }},
    {IPPOperation::createJob, Target::printer,
     [](auto& profile, const auto& checked) { return profile.submissions_->create(checked); }},
    {IPPOperation::sendDocument, Target::job,
     [](auto& profile, const auto& checked) {
         return profile.submissions_->sendDocument(checked);
     }},
    {IPPOperation::cancelJob, Target::job,
     [](auto& profile, const auto& checked) {
         return cancellation::cancelJob(profile.jobs_, checked);
     }},
    {IPPOperation::getJobAttributes, Target::job,
     [](auto& profile, const auto& checked) {
         return queries::getJobAttributes(profile.jobs_, checked);
     }},
    {IPPOperation::getJobs, Target::printer,
     [](auto& profile, const auto& checked) { return queries::getJobs(profile.jobs_, checked); }},
    {IPPOperation::getPrinterAttributes, Target::printer,
     [](auto& profile, const auto& checked) { return profile.describePrinter(checked); }},
    {IPPOperation::cancelMyJobs, Target::printer,
     [](auto& profile, const auto& checked) {
         return cancellation::cancelMyJobs(profile.jobs_, checked);
     }},
    {IPPOperation::closeJob, Target::job,
     [](auto& profile, const auto& checked) { return profile.submissions_->close(checked); }},
    {IPPOperation::identifyPrinter, Target::printer,
     [](auto& profile, const auto& checked) { return profile.identify(checked); }},
};

EverywhereProfile::EverywhereProfile(const std::shared_ptr<JobReception>& jobs)
    : jobs_(jobs), submissions_(std::make_shared<EverywhereJobs>(jobs))
{
}

PreparedRequest EverywhereProfile::prepare(const ArrivingRequest& arriving)
{
    const IPPMessage& message = arriving.message;
    if (const auto wrong = checks::header(message))
        return answered(inSupportedVersion(arriving), *wrong);
    const IPPOperationName* named = arriving.request().operation;
    if (named == nullptr) {
        return answered(arriving.responder,
                        IPPOutcome{.status = IPPStatus::serverErrorOperationNotSupported});
    }
    const auto* operation = std::ranges::find(operations, named->operation, &Operation::operation);
    if (const auto wrong = checks::groups(message)) return answered(arriving.responder, *wrong);
    if (const auto wrong = checks::values(message)) return answered(arriving.responder, *wrong);
    CheckedRequest checked{.arriving = arriving};
    const bool isForJob = operation->target == Target::job;
    if (const auto wrong = checks::target(message, jobs_->printer().descriptor(),
                                          isForJob ? &checked.jobID : nullptr))
        return answered(arriving.responder, *wrong);
    checked.jobTemplate = readJobTemplate(message);
    const auto& unsupported = checked.jobTemplate.unsupported;
    const auto fidelity = operationValue<ipp::Boolean>(message, "ipp-attribute-fidelity");
    if (fidelity && fidelity->value && !unsupported.attributes.empty()) {
        return answered(arriving.responder,
                        IPPOutcome{.status = IPPStatus::clientErrorAttributesOrValuesNotSupported,
                                   .groups = {unsupported}});
    }
    return operation->prepare(*this, checked);
}

HTTPResponse EverywhereProfile::answer(const HTTPRequest& request)
{
    const bool isHead = request.method == "HEAD";
    if (request.method != "GET" && !isHead)
        return {.status = "415 Unsupported Media Type", .body = {}};
    const auto& page = jobs_->printer().page;
    const std::string path = request.path.substr(0, request.path.find('?'));
    HTTPResponse response =
        (page ? page(path, jobs_->status()) : std::nullopt).value_or(notFoundPage());
    response.headers = pageHeaders;
    response.hasBody = !isHead;
    return response;
}

PreparedRequest EverywhereProfile::describePrinter(const CheckedRequest& checked) const
{
    return answered(
        checked.responder(), [jobs = jobs_, requested = RequestedAttributes(checked.message())] {
            return IPPOutcome{.groups = {ipp::makeEverywhereAttributes(jobs->printer().descriptor(),
                                                                       jobs->status(), requested)}};
        });
}

/** Identify-Printer (PWG 5100.13 section 4.1): shows the user a message, which is all it can do. */
PreparedRequest EverywhereProfile::identify(const CheckedRequest& checked) const
{
    const auto* actions =
        ipp::findAttribute(checked.message(), "identify-actions", IPPTag::operationAttributes);
    if (actions != nullptr) {
        const IPPValue display = ipp::Text{"display", IPPTag::keyword};
        if (std::ranges::find(actions->values, display) == actions->values.end()) {
            return answered(
                checked.responder(),
                checks::unsupported(IPPStatus::clientErrorAttributesOrValuesNotSupported,
                                    checked.message(), "identify-actions"));
        }
    }
    std::string message(
        text::prefixOfSequences(operationText(checked.message(), "message"), maxMessage));
    return answered(checked.responder(), [jobs = jobs_, message = std::move(message)] {
        if (jobs->printer().identify) jobs->printer().identify(message);
        return IPPOutcome{};
    });
}

} // namespace korvane
