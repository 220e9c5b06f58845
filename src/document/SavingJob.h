#pragma once

#include "base/Result.h"
#include "document/JobEnvironment.h"
#include "document/JobPublication.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace korvane {

/**
 * One print job on its way to its save folder: opened by a worker, recognized, written as a
 * searchable PDF in the spool, and published. Every step ends by asking for the next one, which its
 * completion, the background queue or that of the folder begins. Lives until the last step is done;
 * a job whose next step was dropped, by a queue that has ended or for want of memory, has its
 * document published as it was received. One that was canceled takes no further step but the last,
 * in which nothing is published.
 */
class SavingJob : public std::enable_shared_from_this<SavingJob> {
public:
    SavingJob(const JobEnvironment& environment, std::shared_ptr<JobPublication> publication);
    SavingJob(const SavingJob&) = delete;
    SavingJob& operator=(const SavingJob&) = delete;
    ~SavingJob();

    /** Returns at once; any thread. */
    void begin();

    /** Stops what workers do for the job, whose PrintJob has been canceled. Returns at once; any
     *  thread. */
    void cancel();

private:
    /** The last step, which takes the publication along. */
    using Step = std::function<void(JobPublication&)>;

    void open();
    void takeSource(DocumentAnswer<std::shared_ptr<OpenDocument>> source);
    void takePages(std::vector<OCRPageResult> pages);
    void write();
    void concludeAsReceived();
    void conclude(Step step);

    const JobEnvironment& environment_;
    Log& log_;
    const std::shared_ptr<PrintJob> printJob_;
    const std::string jobName_;
    const std::shared_ptr<Queue> folder_;
    /** Null once the last step is on its way. */
    std::shared_ptr<JobPublication> publication_;
    /** Held to set `source_`, and to use it in `cancel`. */
    std::mutex mutex_;
    /** Null, and no pages, where the document could not be read. */
    std::shared_ptr<OpenDocument> source_;
    std::vector<OCRPageResult> pages_;
};

} // namespace korvane
