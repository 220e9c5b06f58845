#pragma once

#include "platform/base/Data.h"
#include "platform/queue/Queue.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/** A job that Create-Job made and whose documents are still coming. */
struct PendingJob {
    std::string jobName;
    /** What Send-Document brought so far, in order. */
    std::vector<Data> documents;
};

/**
 * The Create-Job jobs that wait for their last document. One that waits too long is dropped. Used
 * on the server's queue only.
 */
class PendingJobs {
public:
    /** How long a job is kept after its latest document (RFC 8011 calls this multiple-operation
     *  time-out). */
    static constexpr std::chrono::minutes longestWait{15};

    /** `onExpired` is told the id of a job that was dropped. */
    PendingJobs(SerialQueue& queue, std::function<void(std::int32_t)> onExpired);

    /** Opens a job, replacing any of that id. */
    void open(std::int32_t id, std::string jobName);

    /** Adds a document to a job; false when there is no such job. */
    bool append(std::int32_t id, Data document);

    /** Takes a job out. */
    std::optional<PendingJob> take(std::int32_t id);

    /** Bytes of the documents held. */
    std::size_t heldBytes() const;

private:
    struct Entry {
        PendingJob job;
        std::unique_ptr<DelayedTask> expiry;
    };

    void keepWaiting(std::int32_t id, Entry& entry);

    SerialQueue& queue_;
    std::function<void(std::int32_t)> onExpired_;
    std::map<std::int32_t, Entry> entries_;
};

} // namespace korvane
