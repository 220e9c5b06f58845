#pragma once

#include "job/PrintJob.h"
#include "status/JobProgress.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace korvane {

/** The jobs that are accepted and not ended, to be told of. Any thread. */
class ActiveJobs : public std::enable_shared_from_this<ActiveJobs> {
public:
    /** No more are listed, however many there are. */
    static constexpr std::size_t maxListed = 256;

    /** `changed` is called when the list is another, by whoever works on a job: it must not block
     * or throw. */
    explicit ActiveJobs(std::function<void()> changed) : changed_(std::move(changed)) {}
    ActiveJobs(const ActiveJobs&) = delete;
    ActiveJobs& operator=(const ActiveJobs&) = delete;

    /** Lists the job until it has ended. */
    void add(const std::shared_ptr<PrintJob>& job);

    /** The oldest first. */
    std::vector<JobProgress> list() const;

private:
    void handleChange(std::uint64_t number);

    const std::function<void()> changed_;
    mutable std::mutex mutex_;
    std::uint64_t lastNumber_ = 0;
    std::map<std::uint64_t, std::shared_ptr<PrintJob>> jobs_;
};

} // namespace korvane
