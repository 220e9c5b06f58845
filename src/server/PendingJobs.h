#pragma once

#include "base/Data.h"
#include "base/Log.h"
#include "event/Queue.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A job that Create-Job made and whose documents are still coming. */
struct PendingJob {
    std::string jobName;
    /** What Send-Document brought so far, in order. */
    std::vector<Data> documents;
};

/**
 * The Create-Job jobs that wait for their last document. One that waits too long is dropped, and so
 * is the one that has waited longest when there are too many or they hold too much; each with one
 * error line. Used on the server's queue only.
 */
class PendingJobs {
public:
    struct Limits {
        /** How long a job is kept after its latest document (RFC 8011, section 5.4.31, calls this
         *  the multiple-operation time-out). */
        std::chrono::minutes wait{15};
        std::size_t jobs = 256;
        /** Bytes of names and documents in all. */
        std::size_t bytes = std::size_t{1} << 30;
    };

    enum class Appended { done, unknownJob, tooLarge };

    PendingJobs(SerialQueue& queue, Log& log, Limits limits);

    /** Opens a job, replacing any of that id. */
    void open(std::int32_t id, std::string jobName);

    /** Adds a document to a job. A job that grows too large all by itself is dropped. */
    Appended append(std::int32_t id, Data document);

    /** Takes a job out. */
    std::optional<PendingJob> take(std::int32_t id);

private:
    struct Entry {
        PendingJob job;
        std::size_t bytes = 0;
        /** Higher for a job that was changed later. */
        std::uint64_t lastSeen = 0;
        std::unique_ptr<DelayedTask> expiry;
    };
    using Entries = std::map<std::int32_t, Entry>;

    void keepWaiting(std::int32_t id, Entry& entry);
    void grow(Entry& entry, std::size_t bytes);
    void makeRoom();
    void drop(Entries::iterator entry, std::string_view reason);
    void remove(Entries::iterator entry);

    SerialQueue& queue_;
    Log& log_;
    const Limits limits_;
    Entries entries_;
    std::size_t bytes_ = 0;
    std::uint64_t clock_ = 0;
};

} // namespace korvane
