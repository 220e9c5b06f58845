#pragma once

#include "server/KnownJob.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace korvane {

/**
 * The jobs of one server by their ids: all that have not ended, and the latest of those that have.
 * Used on the server's queue only.
 */
class JobTable {
public:
    static constexpr std::size_t maxEndedJobs = 100;

    /** Ids count up from 1; past the largest they start again there, without those in use. */
    std::int32_t takeID();

    /** Adds a job, with a new id unless it has one. Now and then ended ones that are too many go,
     *  so that a long queue of jobs costs none of them much. */
    void add(std::shared_ptr<KnownJob> job);

    /** The job, or null. */
    std::shared_ptr<KnownJob> find(std::int32_t id) const;

    /** All of them, in the order of their ids, once the ended ones that are too many have gone. */
    std::vector<std::shared_ptr<KnownJob>> all();

private:
    void dropOldest();

    std::map<std::int32_t, std::shared_ptr<KnownJob>> jobs_;
    std::int32_t nextID_ = 1;
    /** So many jobs are looked through for ended ones. */
    std::size_t trimmingSize_ = 2 * maxEndedJobs;
};

} // namespace korvane
