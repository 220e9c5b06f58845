#include "server/JobTable.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace korvane {

std::int32_t JobTable::takeID()
{
    std::int32_t id = 0;
    do {
        id = nextID_;
        nextID_ = id == std::numeric_limits<std::int32_t>::max() ? 1 : id + 1;
    } while (jobs_.contains(id));
    return id;
}

void JobTable::add(std::shared_ptr<KnownJob> job)
{
    if (job->id == 0) job->id = takeID();
    const std::int32_t id = job->id;
    jobs_[id] = std::move(job);
    if (jobs_.size() > trimmingSize_) dropOldest();
}

std::shared_ptr<KnownJob> JobTable::find(std::int32_t id) const
{
    const auto found = jobs_.find(id);
    return found == jobs_.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<KnownJob>> JobTable::all()
{
    dropOldest();
    std::vector<std::shared_ptr<KnownJob>> all;
    all.reserve(jobs_.size());
    for (const auto& [id, job] : jobs_) all.push_back(job);
    return all;
}

void JobTable::dropOldest()
{
    std::vector<std::int32_t> ended;
    for (const auto& [id, job] : jobs_) {
        if (isEnded(job->progress->state())) ended.push_back(id);
    }
    for (std::size_t each = 0; each + maxEndedJobs < ended.size(); ++each) jobs_.erase(ended[each]);
    trimmingSize_ = 2 * std::max(jobs_.size(), maxEndedJobs);
}

} // namespace korvane
