#pragma once

#include "base/Clock.h"
#include "base/Data.h"
#include "base/Log.h"
#include "document/DocumentNormalizer.h"
#include "event/Queue.h"
#include "ipp/IPPMessage.h"
#include "ipp/IPPOperation.h"
#include "ipp/PrinterDescriptor.h"
#include "server/HTTPMessage.h"
#include "server/MemoryQuota.h"
#include "server/PendingJobs.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** The status codes of our responses (RFC 8011, appendix B). */
enum class IPPStatus : std::uint16_t {
    successfulOk = 0x0000,
    clientErrorBadRequest = 0x0400,
    clientErrorNotFound = 0x0406,
    clientErrorDocumentFormatNotSupported = 0x040A,
    serverErrorInternalError = 0x0500,
    serverErrorOperationNotSupported = 0x0501,
};

/**
 * Carries out IPP requests (RFC 8011) and takes print jobs in. The printer has no job queue: a job
 * is handed on the moment it is complete, and reported as completed.
 *
 * Used on the server's queue only, on which it ends as well. PDF documents are handed on within the
 * call; others are converted in the background first, so that other clients are answered meanwhile.
 */
class IPPOperations : public std::enable_shared_from_this<IPPOperations> {
public:
    using DescriptorProvider = std::function<PrinterDescriptor()>;
    /** Takes an accepted job: its name and its document as PDF. */
    using JobHandler = std::function<void(const std::string& jobName, const Data& pdf)>;
    using Answer = std::function<void(HTTPResponse)>;

    /** Documents are written for their conversion by `converter` on `files`, and counted by
     *  `documents`. */
    IPPOperations(std::shared_ptr<SerialQueue> queue, Queue& files, DocumentService& converter,
                  const Clock& clock, Log& log, MemoryQuota documents,
                  DescriptorProvider descriptorProvider, JobHandler jobHandler);

    /** Answers a request that carries IPP, once. The answer is dropped, perhaps on another thread,
     *  when the operations end while the document is being converted. */
    void handleRequest(const HTTPRequest& request, const Answer& answer);

private:
    /** What an operation comes to: its status, and the groups behind the operation attributes. */
    struct Outcome {
        IPPStatus status = IPPStatus::successfulOk;
        std::vector<IPPAttributeGroup> groups;
    };
    using Completion = std::function<void(Outcome)>;
    using NormalizeError = DocumentNormalizer::NormalizeError;
    using Normalized = Result<Data, NormalizeError>;

    /** A job whose document is complete; one of Print-Job gets its id when it is accepted. */
    struct SubmittedJob {
        std::string name;
        Data document;
        std::optional<std::int32_t> id;
    };

    void perform(IPPOperation operation, const IPPMessage& request, const Completion& completion);
    void printJob(const IPPMessage& request, const Completion& completion);
    Outcome createJob(const IPPMessage& request);
    void sendDocument(const IPPMessage& request, const Completion& completion);

    void submit(const SubmittedJob& job, const Completion& completion);
    void finish(const SubmittedJob& job, const Normalized& pdf, const Completion& completion);
    Data joined(const std::vector<Data>& documents) const;
    std::string jobName(const IPPMessage& request) const;
    std::int32_t takeJobID();
    Outcome completedJob(std::int32_t id) const;
    IPPAttributeGroup makeJobGroup(std::int32_t id, std::int32_t state,
                                   std::string_view reason) const;

    const std::shared_ptr<SerialQueue> queue_;
    Queue& files_;
    DocumentService& converter_;
    const Clock& clock_;
    Log& log_;
    const MemoryQuota documents_;
    DescriptorProvider descriptorProvider_;
    JobHandler jobHandler_;
    std::int32_t nextJobID_ = 1;
    PendingJobs pendingJobBuffers_;
};

} // namespace korvane
