#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "ipp/IPPMessage.h"
#include "server/HTTPMessage.h"
#include "server/IPPOutcome.h"
#include "server/IPPRequest.h"
#include "server/JobIntake.h"
#include "server/PendingJobs.h"
#include "server/ReceivedDocument.h"
#include "server/SpoolRoom.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** A document that comes with a request. */
struct ArrivingDocument {
    std::shared_ptr<ReceivedDocument> content;
    /** Its job, where that has been made before. */
    PendingJobs::Arrival arrival;
};

/**
 * Carries out IPP requests (RFC 8011) and takes print jobs in. The printer has no job queue: a job
 * is handed on the moment it is in the spool, and reported as completed.
 *
 * Used on the server's queue only, on which it ends as well. What waits for the disk or for workers
 * is done in the background, so that other clients are answered meanwhile.
 */
class IPPOperations : public std::enable_shared_from_this<IPPOperations> {
public:
    /** Called once; dropped, perhaps on another thread, when the operations end before. */
    using Answer = std::function<void(HTTPResponse)>;

    IPPOperations(std::shared_ptr<const JobIntake> intake, const Clock& clock);

    Log& log() const { return intake_->environment().log; }

    /** Begins to receive what follows the attributes; nothing where the operation takes no document
     *  or has no job for it. `onWritten` is called whenever a part has been written. */
    std::optional<ArrivingDocument> beginDocument(const IPPRequest& request,
                                                  std::function<void()> onWritten) const;

    /** Answers a request that has arrived whole, with so many bytes behind its attributes; they are
     *  in `document` where `beginDocument` gave one. */
    void perform(const IPPRequest& request, std::uint64_t documentBytes,
                 std::optional<ArrivingDocument> document, const Answer& answer);

private:
    using Completion = std::function<void(IPPOutcome)>;

    /** A job whose document is on its way into the spool; one of Print-Job gets its id when it is
     *  there. */
    struct SubmittedJob {
        IPPRequest request;
        std::optional<std::int32_t> id;
    };

    IPPOutcome createJob(const IPPRequest& request);
    void printJob(const IPPRequest& request, const ArrivingDocument& document,
                  const Answer& answer);
    void sendDocument(const IPPRequest& request, std::uint64_t documentBytes,
                      const std::optional<ArrivingDocument>& document, const Answer& answer);
    void addDocument(const IPPRequest& request, const PendingJob& job,
                     const ArrivingDocument& document, const Answer& answer) const;
    void finishJob(const IPPRequest& request, const PendingJob& job,
                   const std::optional<ArrivingDocument>& document, const Answer& answer);

    JobIntake::Completion whenTaken(SubmittedJob job, Answer answer);
    HTTPResponse report(const SubmittedJob& job, const JobIntake::Taken& taken);
    std::shared_ptr<PrintJob> makeJob(const IPPRequest& request) const;
    std::string jobName(const IPPRequest& request) const;
    std::int32_t takeJobID();
    IPPOutcome completedJob(std::int32_t id) const;
    IPPAttributeGroup makeJobGroup(std::int32_t id, std::int32_t state,
                                   std::string_view reason) const;

    const std::shared_ptr<const JobIntake> intake_;
    const Clock& clock_;
    const std::shared_ptr<SpoolRoom> room_;
    std::int32_t nextJobID_ = 1;
    const std::shared_ptr<PendingJobs> pendingJobBuffers_;
};

} // namespace korvane
