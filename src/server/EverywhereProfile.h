#pragma once

#include "server/CheckedRequest.h"
#include "server/EverywhereJobs.h"
#include "server/IPPProfile.h"
#include "server/JobReception.h"

#include <memory>

namespace korvane {

/** Answers as a printer of IPP Everywhere 1.1 (PWG 5100.14), and with web pages. */
class EverywhereProfile final : public IPPProfile {
public:
    explicit EverywhereProfile(const std::shared_ptr<JobReception>& jobs);

    PreparedRequest prepare(const ArrivingRequest& arriving) override;
    HTTPResponse answer(const HTTPRequest& request) override;

private:
    /** What an operation is about. */
    enum class Target { printer, job };

    struct Operation {
        IPPOperation operation;
        Target target;
        PreparedRequest (*prepare)(EverywhereProfile& profile, const CheckedRequest& checked);
    };
    static const Operation operations[];

    PreparedRequest describePrinter(const CheckedRequest& checked) const;
    PreparedRequest identify(const CheckedRequest& checked) const;

    const std::shared_ptr<JobReception> jobs_;
    const std::shared_ptr<EverywhereJobs> submissions_;
};

} // namespace korvane
