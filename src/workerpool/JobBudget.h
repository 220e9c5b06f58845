#pragma once

#include "base/Result.h"
#include "workerpool/FailureBudget.h"
#include "workerpool/WorkerService.h"

#include <chrono>
#include <cstdint>
#include <map>

namespace korvane {

/**
 * What the requests of one job may take: those that recognize a page share the page's budget, and
 * all that have no time reserved for the whole of their limit share the job's FailureBudget.
 */
class JobBudget {
public:
    using Time = FailureBudget::Time;
    using milliseconds = std::chrono::milliseconds;

    /** What workers spend on one page at most, however often and in how many languages it is
     *  tried: a page in a language that is found with the second try takes half of it on a slow
     *  computer. */
    static constexpr milliseconds maxPageTime = std::chrono::seconds(60);
    /** What the job regains for a page: more than most take, so that one page that hangs is made up
     *  for by four; and 2 s more than what keeps a job going in which every second page hangs (see
     *  FailureBudget), as no request ends exactly at its limit. Others give back what they took. */
    static constexpr milliseconds regainedForPage = std::chrono::seconds(12);

    /** What the request may take from now on: its limit or less. `timedOut` when its page has had
     *  its time, `overBudget` when the job has lost too much. */
    Result<milliseconds, WorkerFailure> limitOf(const WorkerRequest& request) const;

    /** A request that began at `from` was answered at `until`. */
    void noteSuccess(const WorkerRequest& request, Time from, Time until);

    /** One that began at `from` has failed at `until`, which is no earlier than before. */
    void noteFailure(const WorkerRequest& request, Time from, Time until);

    /** Whether the job's losses concern the request. */
    static bool concerns(const WorkerRequest& request)
    {
        return request.reservedTime < request.limit;
    }

private:
    milliseconds leftForPage(std::uint64_t page) const;
    void addPageTime(const WorkerRequest& request, milliseconds time);

    FailureBudget job_;
    /** What workers have spent on each. */
    std::map<std::uint64_t, milliseconds> pages_;
};

} // namespace korvane
