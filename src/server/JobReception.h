#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "server/IPPRequest.h"
#include "server/JobAttributes.h"
#include "server/JobIntake.h"
#include "server/JobTable.h"
#include "server/PendingJobs.h"
#include "server/PrinterStanding.h"
#include "server/ReceivedDocument.h"
#include "server/SpoolRoom.h"

#include <functional>
#include <memory>

namespace korvane {

/**
 * What all profiles do with jobs: receives their documents, has them taken in, and keeps account of
 * them. A job is handed on the moment it is in the spool.
 *
 * Used on the server's queue only, on which it ends as well. What waits for the disk or for workers
 * is done in the background, so that other clients are answered meanwhile.
 */
class JobReception : public std::enable_shared_from_this<JobReception> {
public:
    /** Called once on the server's queue; dropped, perhaps on another thread, when the server ends
     *  before. */
    using WhenTaken = std::function<void(const JobIntake::Taken&)>;
    /** The same; false when the job has been taken in, or dropped, meanwhile. */
    using WhenAdded = std::function<void(const Result<bool, SystemError>&)>;

    JobReception(std::shared_ptr<const JobIntake> intake, const Clock& clock);

    const PrinterCallbacks& printer() const { return intake_->printer(); }
    SerialQueue& queue() const { return *intake_->environment().queue; }
    Log& log() const { return intake_->environment().log; }
    JobTable& jobs() { return jobs_; }
    const JobTable& jobs() const { return jobs_; }
    PendingJobs& pending() { return *pending_; }
    PrinterStatus status() { return standing_.status(printer().descriptor()); }

    /** A job as a client of that host may see it now. */
    JobView view(const KnownJob& job, const PrinterDescriptor& described,
                 const std::string& host) const;

    /** The job that a request describes; in no table yet. */
    std::shared_ptr<KnownJob> makeJob(const IPPRequest& request) const;

    /** A document that begins to arrive. `onWritten` is called whenever a part has been written. */
    std::shared_ptr<ReceivedDocument> makeDocument(std::function<void()> onWritten) const;

    /** Takes a job in with its only document, all of which has arrived. */
    void take(const KnownJob& job, ReceivedDocument& document, WhenTaken whenTaken) const;

    /** Joins a document to those of its job; others may follow. */
    void add(const PendingJob& job, ReceivedDocument& document, WhenAdded whenAdded) const;

    /** Takes a job in whose last document has arrived; null if there is none besides those that
     *  have been added. */
    void finish(const PendingJob& job, ReceivedDocument* last, WhenTaken whenTaken) const;

    /** Logs why a job was not taken; what is refused is called as the caller says. */
    void logFailure(const IntakeError& error, std::string_view refusal) const;

private:
    ArrivedJob arrived(const KnownJob& job) const;
    JobIntake::Completion onQueue(WhenTaken whenTaken) const;

    const std::shared_ptr<const JobIntake> intake_;
    const Clock& clock_;
    const std::shared_ptr<SpoolRoom> room_;
    const std::shared_ptr<PendingJobs> pending_;
    JobTable jobs_;
    PrinterStanding standing_;
};

} // namespace korvane
