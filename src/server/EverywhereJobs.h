#pragma once

#include "server/CheckedRequest.h"
#include "server/DocumentUpload.h"
#include "server/JobReception.h"

#include <memory>
#include <string>

namespace korvane {

/**
 * The operations of IPP Everywhere that make jobs and send their documents. A job is in the table
 * from when its request is known, so that it can be seen and canceled while its document arrives.
 *
 * A job has one document (multiple-document-jobs-supported is false), and only the host that sent
 * it may add to it.
 */
class EverywhereJobs : public std::enable_shared_from_this<EverywhereJobs> {
public:
    explicit EverywhereJobs(std::shared_ptr<JobReception> jobs);

    PreparedRequest print(const CheckedRequest& checked);
    PreparedRequest create(const CheckedRequest& checked);
    PreparedRequest sendDocument(const CheckedRequest& checked);
    PreparedRequest close(const CheckedRequest& checked);

private:
    std::shared_ptr<KnownJob> makeJob(const CheckedRequest& checked) const;
    std::shared_ptr<DocumentUpload> beginUpload(const std::shared_ptr<KnownJob>& job,
                                                const IPPResponder& responder,
                                                DocumentUpload::Kind kind) const;
    void finishDocument(const IPPResponder& responder, const std::shared_ptr<KnownJob>& job,
                        ReceivedDocument* document, std::uint64_t bytes,
                        const PendingJobs::Arrival& arrival);
    IPPOutcome closeJob(const std::shared_ptr<KnownJob>& job, const IPPRequest& request);

    /** Why no document can be sent for a job any more, if that is so. */
    std::optional<IPPOutcome> whyClosed(const KnownJob& job) const;
    JobReception::WhenTaken whenTaken(const IPPResponder& responder,
                                      const std::shared_ptr<KnownJob>& job, IPPOutcome taken) const;
    void fail(const IPPResponder& responder, const IntakeError& error, const KnownJob& job) const;
    void logFailure(const IntakeError& error, const KnownJob& job) const;
    IPPAttributeGroup groupOf(const KnownJob& job, const std::string& host) const;

    const std::shared_ptr<JobReception> jobs_;
};

} // namespace korvane
