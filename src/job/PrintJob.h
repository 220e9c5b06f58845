#pragma once

#include "base/Clock.h"
#include "job/JobStatus.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace korvane {

/** Where a job came from, and as what. */
struct JobOrigin {
    /** The name that the client gave it. */
    std::string name;
    /** Who says to have sent it: requesting-user-name. */
    std::string user;
    /** The host that sent it, as `TCPConnection::peerAddress`; empty for jobs of earlier agents. */
    std::string host;
};

/**
 * What is known of one print job, from its first request until long after its document has been
 * saved. Those who work on the job say here how far they are and ask whether it is canceled;
 * those who are asked about it answer from here. Any thread.
 */
class PrintJob {
public:
    /** Stops the work that is under way; called at most once, on the canceling thread, and must not
     *  block. */
    using CancelTask = std::function<void()>;

    /** A job whose document is still to come. The clock outlives it. */
    PrintJob(JobOrigin origin, const Clock& clock);
    PrintJob(const PrintJob&) = delete;
    PrintJob& operator=(const PrintJob&) = delete;

    const JobOrigin& origin() const { return origin_; }
    JobStatus status() const;
    JobState state() const;
    bool isCanceled() const { return state() == JobState::canceled; }

    // How far it is; ignored once the job has ended.

    /** Its document is arriving. */
    void receive();

    /** Its document is in the spool. */
    void enqueue();

    /** Its document has been opened. */
    void process(std::size_t pageCount);

    /** Another page has been recognized, or is known not to need it. */
    void completePage();

    /** Its file is about to appear in the save folder, and it is too late to cancel the job. False
     *  when it is canceled already. */
    bool publish();

    /** Its file is in the save folder. With a message something is to be said of it: the reason is
     *  "job-completed-with-errors" then. */
    void complete(std::string message = {});

    /** Nothing came of it, for a reason of job-state-reasons and in words. */
    void abort(std::string_view reason, std::string message);

    /** Cancels the job and stops the work on it; false when it has ended or is being published. */
    bool cancel();

    /** Has `task` called when the job is canceled, in place of the one before; at once if it is. */
    void onCancel(CancelTask task);

    /** Has `task` called whenever the status may have become another, in place of the one before.
     * On any thread; it must not block or throw. */
    void onChange(std::function<void()> task);

private:
    class Change;
    enum class Phase { waiting, receiving, queued, processing, publishing, ended };

    void end(JobState state, std::string_view reason, std::string message);

    const JobOrigin origin_;
    const Clock& clock_;
    mutable std::mutex mutex_;
    Phase phase_ = Phase::waiting;
    JobStatus status_;
    CancelTask cancelTask_;
    std::shared_ptr<const std::function<void()>> changeTask_;
};

} // namespace korvane
