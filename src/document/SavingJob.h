#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "document/CompletedJob.h"
#include "document/JobEnvironment.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * One print job on its way to the disk: opened by a worker, recognized, written as a searchable PDF
 * or as it was received. Every step ends by asking for the next one, which its completion or the
 * background queue begins; files are written in the background. Lives until the last step is done;
 * a job whose next step was dropped, by a queue that has ended or for want of memory, is saved as
 * it was received by its destructor.
 */
class SavingJob : public std::enable_shared_from_this<SavingJob> {
public:
    struct Document {
        std::string jobName;
        Data pdf;
        std::filesystem::path saveDirectory;
    };
    /** Called on the main queue when the file is on the disk. */
    using Completion = std::function<void(const CompletedJob&)>;

    /** `ended` is called when the job is destroyed, on any thread; it does not throw. */
    SavingJob(const JobEnvironment& environment, Document document, Completion completion,
              std::function<void()> ended);
    SavingJob(const SavingJob&) = delete;
    SavingJob& operator=(const SavingJob&) = delete;
    ~SavingJob();

    /** Called in the background; the file is named after this moment. */
    void begin();

private:
    void takeSource(DocumentAnswer<std::shared_ptr<OpenDocument>> source);
    void takePages(std::vector<OCRPageResult> pages);
    void write();
    void writeSearchable();
    Result<void, std::string> writeUnchanged();
    void conclude(const Result<void, std::string>& written);
    void complete();

    const JobEnvironment& environment_;
    Log& log_;
    const Document document_;
    const Completion completion_;
    const std::function<void()> ended_;
    std::filesystem::path destination_;
    /** Null, and no pages, where the document could not be read. */
    std::shared_ptr<OpenDocument> source_;
    std::vector<OCRPageResult> pages_;
    /** On the disk, or lost and the log says so. */
    bool isConcluded_ = false;
};

} // namespace korvane
