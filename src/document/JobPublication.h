#pragma once

#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "document/CompletedJob.h"
#include "document/DocumentText.h"
#include "document/JobEnvironment.h"
#include "document/UnsavedJob.h"
#include "job/PrintJob.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace korvane {

/** What becomes of jobs. Both handlers are called on the main queue. */
struct JobHandlers {
    /** The document is in its save folder. */
    std::function<void(const CompletedJob&)> completed;
    /** The job was set aside. */
    std::function<void(const UnsavedJob&)> unsaved;
};

/**
 * One job's dealings with its save folder: its PDF goes there or, where that cannot be, the job is
 * set aside. Until one of them is done the job stays in the spool, for the next start. How it ends
 * is told to its PrintJob; of one that is canceled before, nothing is left.
 *
 * All calls but `cancel` are made on the folder's queue.
 */
class JobPublication {
public:
    /** `ended` is called when this object is destroyed, on any thread; it does not throw. */
    JobPublication(const JobEnvironment& environment, std::shared_ptr<SpooledJob> job,
                   std::shared_ptr<PrintJob> printJob, JobHandlers handlers,
                   std::function<void()> ended);
    JobPublication(const JobPublication&) = delete;
    JobPublication& operator=(const JobPublication&) = delete;
    ~JobPublication() { ended_(); }

    const JobTicket& ticket() const { return job_->ticket(); }
    const std::shared_ptr<PrintJob>& printJob() const { return printJob_; }

    /** Opens the document if there is a folder to save it in. Where there is not, or the job is
     *  gone, this was all; a document that cannot be opened is for `publishAsReceived`. */
    std::optional<Result<DocumentFile, SystemError>> open();

    /** Publishes the searchable PDF. Where it cannot be, or there is none for the reason given, the
     *  document is published as it was received. */
    void publish(const Result<DocumentFile, std::string>& searchable, const DocumentText& text);

    /** Publishes the document, with one more try after a failure. */
    void publishAsReceived(const DocumentText& text);

    /** Has a job whose PrintJob was canceled removed from the spool, in the background: its folder
     *  may hang. Any thread. */
    static void discard(const std::shared_ptr<JobPublication>& publication);

private:
    void removeFromSpool();
    void fallBack(const std::string& error, const DocumentText& text);
    void complete(const std::filesystem::path& file, const DocumentText& text);
    void setAside(std::optional<SystemError> writeError);

    const JobEnvironment& environment_;
    Log& log_;
    /** Held while a job that may be canceled is used: its folder's queue opens it while the
     *  background queue removes it. */
    std::mutex mutex_;
    const std::shared_ptr<SpooledJob> job_;
    const std::shared_ptr<PrintJob> printJob_;
    const bool wasSetAside_;
    const JobHandlers handlers_;
    const std::function<void()> ended_;
};

} // namespace korvane
