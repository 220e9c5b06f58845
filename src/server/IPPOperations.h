#pragma once

#include "document/DocumentNormalizer.h"
#include "ipp/IPPMessage.h"
#include "ipp/IPPOperation.h"
#include "ipp/PrinterDescriptor.h"
#include "platform/base/Data.h"
#include "platform/log/Log.h"
#include "platform/queue/Queue.h"
#include "platform/system/Clock.h"
#include "server/HTTPRequest.h"
#include "server/HTTPResponse.h"
#include "server/HeldBytes.h"
#include "server/IPPStatus.h"
#include "server/PendingJobs.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * Carries out IPP requests (RFC 8011) and takes print jobs in. The printer has no job queue: a job
 * is handed on the moment it is complete, and reported as completed.
 *
 * Used on the server's queue only. PDF documents are handed on within the call; raster documents
 * are converted in the background first, so that other clients are answered meanwhile.
 */
class IPPOperations {
public:
    using DescriptorProvider = std::function<PrinterDescriptor()>;
    /** Takes an accepted job: its name and its document as PDF. */
    using JobHandler = std::function<void(const std::string& jobName, const Data& pdf)>;
    using Answer = std::function<void(HTTPResponse)>;

    /** Documents are converted on `converting` and counted by `held`. */
    IPPOperations(SerialQueue& queue, Queue& converting, const Clock& clock, Log& log,
                  const HeldBytes& held, DescriptorProvider descriptorProvider,
                  JobHandler jobHandler);

    /** Answers a request that carries IPP, once; `answer` keeps alive what must outlive the
     *  conversion of the document. An answer that is dropped means that there will be none. */
    void handleRequest(const HTTPRequest& request, const Answer& answer);

private:
    /** What an operation comes to: its status, and the groups behind the operation attributes. */
    struct Outcome {
        IPPStatus status = IPPStatus::successfulOk;
        std::vector<IPPAttributeGroup> groups;
    };
    using Completion = std::function<void(Outcome)>;
    using PDFHandler = std::function<void(Result<Data, DocumentNormalizer::NormalizeError>)>;

    void perform(IPPOperation operation, const IPPMessage& request, const Completion& completion);
    void printJob(const IPPMessage& request, const Completion& completion);
    Outcome createJob(const IPPMessage& request);
    void sendDocument(const IPPMessage& request, const Completion& completion);

    Data joined(const std::vector<Data>& documents) const;
    void convertToPDF(const Data& document, PDFHandler handler);
    std::string jobName(const IPPMessage& request) const;
    std::int32_t takeJobID();
    Outcome completedJob(std::int32_t id) const;
    IPPAttributeGroup makeJobGroup(std::int32_t id, std::int32_t state,
                                   std::string_view reason) const;

    SerialQueue& queue_;
    Queue& converting_;
    const Clock& clock_;
    Log& log_;
    HeldBytes held_;
    DescriptorProvider descriptorProvider_;
    JobHandler jobHandler_;
    std::int32_t nextJobID_ = 1;
    PendingJobs pendingJobBuffers_;
};

} // namespace korvane
