#include "server/JobQueries.h"

#include "ipp/RequestedAttributes.h"
#include "server/JobAccess.h"
#include "server/JobAttributes.h"

#include <algorithm>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace korvane::queries {

namespace {

using Jobs = std::vector<std::shared_ptr<KnownJob>>;

/** Which jobs a client asks for. */
struct Selection {
    explicit Selection(const CheckedRequest& checked)
        : which(operationText(checked.message(), "which-jobs")), host(checked.request().host)
    {
        const auto limitation = operationValue<ipp::Integer>(checked.message(), "limit");
        if (limitation) limit = static_cast<std::size_t>(limitation->value);
        const auto mine = operationValue<ipp::Boolean>(checked.message(), "my-jobs");
        if (mine && mine->value) user = checked.request().userName;
        const auto named = access::namedJobs(checked.message());
        ids.insert(named.begin(), named.end());
    }

    bool isChosen(const KnownJob& job) const
    {
        if (!ids.empty() && !ids.contains(job.id)) return false;
        return !user || (job.isFrom(host) && job.progress->origin().user == *user);
    }

    /** Those that have not ended come first, in the order in which they will; of the others the
     *  latest. */
    Jobs chosenFrom(const Jobs& all) const
    {
        Jobs waiting;
        std::vector<std::pair<JobStatus::Time, std::shared_ptr<KnownJob>>> ended;
        for (const auto& job : all) {
            if (!isChosen(*job)) continue;
            const auto end = job->progress->status().ended;
            if (end) {
                ended.emplace_back(*end, job);
            } else {
                waiting.push_back(job);
            }
        }
        std::ranges::sort(ended, [](const auto& left, const auto& right) {
            return std::pair(left.first, left.second->id) >
                   std::pair(right.first, right.second->id);
        });
        Jobs chosen;
        if (which != "completed") chosen = std::move(waiting);
        if (which == "completed" || which == "all" || (!ids.empty() && which.empty()))
            std::ranges::transform(ended, std::back_inserter(chosen),
                                   [](auto& end) { return std::move(end.second); });
        if (chosen.size() > limit) chosen.resize(limit);
        return chosen;
    }

    /** As `which-jobs` has it; empty for those that have not ended. */
    std::string which;
    std::string host;
    std::size_t limit = std::numeric_limits<std::size_t>::max();
    std::optional<std::string> user;
    /** All of them where it is empty. */
    std::set<std::int32_t> ids;
};

IPPOutcome describe(const JobReception& jobs, const Jobs& chosen, const std::string& host,
                    const RequestedAttributes& requested)
{
    const PrinterDescriptor printer = jobs.printer().descriptor();
    IPPOutcome outcome;
    for (const auto& job : chosen)
        outcome.groups.push_back(makeJobAttributes(jobs.view(*job, printer, host), requested));
    return outcome;
}

} // namespace

PreparedRequest getJobAttributes(const std::shared_ptr<JobReception>& jobs,
                                 const CheckedRequest& checked)
{
    return answered(checked.responder(),
                    [jobs, id = checked.jobID, host = checked.request().host,
                     requested = RequestedAttributes(checked.message())]() -> IPPOutcome {
                        const auto job = jobs->jobs().find(id);
                        if (!job) return {.status = IPPStatus::clientErrorNotFound};
                        return describe(*jobs, {job}, host, requested);
                    });
}

PreparedRequest getJobs(const std::shared_ptr<JobReception>& jobs, const CheckedRequest& checked)
{
    return answered(checked.responder(),
                    [jobs, selection = Selection(checked),
                     requested = RequestedAttributes(checked.message(),
                                                     {"job-uri", "job-id"})]() -> IPPOutcome {
                        const Jobs chosen = selection.chosenFrom(jobs->jobs().all());
                        return describe(*jobs, chosen, selection.host, requested);
                    });
}

} // namespace korvane::queries
