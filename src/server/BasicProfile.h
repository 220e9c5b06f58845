#pragma once

#include "server/IPPProfile.h"
#include "server/JobReception.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace korvane {

/** Reports every job as completed once it is in the spool, and lists none. */
class BasicProfile final : public IPPProfile, public std::enable_shared_from_this<BasicProfile> {
public:
    explicit BasicProfile(std::shared_ptr<JobReception> jobs);

    PreparedRequest prepare(const ArrivingRequest& arriving) override;
    HTTPResponse answer(const HTTPRequest& request) override;

private:
    using Prepare = PreparedRequest (BasicProfile::*)(const ArrivingRequest&);
    struct Operation {
        IPPOperation operation;
        Prepare prepare;
    };
    static const Operation operations[];

    PreparedRequest printJob(const ArrivingRequest& arriving);
    PreparedRequest createJob(const ArrivingRequest& arriving);
    PreparedRequest sendDocument(const ArrivingRequest& arriving);
    PreparedRequest describePrinter(const ArrivingRequest& arriving);
    PreparedRequest describeFirstJob(const ArrivingRequest& arriving);
    PreparedRequest succeed(const ArrivingRequest& arriving);

    void finishDocument(const IPPResponder& responder, const PendingJobs::Arrival& arrival,
                        ReceivedDocument* document, std::uint64_t documentBytes);
    void report(const IPPResponder& responder, const JobIntake::Taken& taken,
                std::string_view refusal, std::int32_t id) const;
    IPPOutcome completedJob(std::int32_t id) const;
    IPPAttributeGroup makeJobGroup(std::int32_t id, std::int32_t state,
                                   std::string_view reason) const;

    const std::shared_ptr<JobReception> jobs_;
};

} // namespace korvane
