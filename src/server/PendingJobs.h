#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "server/JoinedDocument.h"
#include "server/KnownJob.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** A job that Create-Job made and whose documents are still coming. */
struct PendingJob {
    std::shared_ptr<KnownJob> job;
    /** What Send-Document brought so far. */
    std::shared_ptr<JoinedDocument> document;
};

/**
 * The Create-Job jobs that wait for their last document. One that waits too long is aborted, with
 * an error line; none is for the sake of another. Used on the server's queue only.
 */
class PendingJobs : public std::enable_shared_from_this<PendingJobs> {
public:
    struct Limits {
        /** How long a job is kept after the last byte of a document (RFC 8011, section 5.4.31,
         *  calls this the multiple-operation time-out). */
        std::chrono::minutes wait{15};
        std::size_t jobs = 256;
        /** Bytes of all names. */
        std::size_t names = std::size_t{1} << 20;
    };

    /** For as long as one exists, its job is not dropped. Destroyed on any thread. */
    using Arrival = std::shared_ptr<const void>;

    PendingJobs(std::shared_ptr<SerialQueue> queue, Log& log, Limits limits);

    /** Opens a job that has its id; false if there are too many. */
    bool open(const std::shared_ptr<KnownJob>& job);

    /** The job, or null. */
    const PendingJob* find(std::int32_t id) const;

    /** Says that a document of the job is arriving. */
    Arrival beginArrival(std::int32_t id);

    /** Takes a job out. */
    std::optional<PendingJob> take(std::int32_t id);

private:
    struct Entry {
        PendingJob job;
        int arrivals = 0;
        std::unique_ptr<DelayedTask> expiry;
    };

    void endArrival(std::int32_t id);
    void keepWaiting(std::int32_t id, Entry& entry);

    const std::shared_ptr<SerialQueue> queue_;
    Log& log_;
    const Limits limits_;
    std::map<std::int32_t, Entry> entries_;
    std::size_t names_ = 0;
};

} // namespace korvane
