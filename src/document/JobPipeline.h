#pragma once

#include "document/CompletedJob.h"
#include "document/OCR.h"
#include "platform/base/Data.h"
#include "platform/documents/DocumentService.h"
#include "platform/log/Log.h"
#include "platform/queue/Queue.h"
#include "platform/system/Clock.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** What jobs are worked on with. All that is referred to outlives the pipelines. */
struct JobEnvironment {
    Queues& queues;
    const Clock& clock;
    Log& log;
    DocumentService& documents;
    /** The languages that the user reads, as Tesseract names them, the first one first. */
    std::vector<std::string> userLanguages;
    /** The login name of the user, who becomes the author of searchable PDFs. */
    std::string author;
};

/**
 * Saves print jobs: recognises their pages and lays the words over them. Each runs as one task in
 * the background, several at a time; it keeps nothing between jobs, and lives until the last of its
 * jobs has been reported.
 */
class JobPipeline : public std::enable_shared_from_this<JobPipeline> {
public:
    /** Called on the main queue, once for every job whose file is on the disk. */
    using Completion = std::function<void(const CompletedJob&)>;

    JobPipeline(const JobEnvironment& environment, Completion completion);

    /**
     * Saves a document in a folder that exists, named after the job and the time. Returns at once;
     * any thread. Where recognition or the searchable PDF fails, the document is saved as it was
     * received; when that write fails too the job is lost, and only the log says so.
     */
    void process(const std::string& jobName, const Data& pdf,
                 const std::filesystem::path& saveDirectory);

private:
    struct Recognition;

    void run(const std::string& jobName, const Data& pdf,
             const std::filesystem::path& saveDirectory);
    Recognition recognizeIfPossible(const Data& pdf);
    Recognition recognize(const Data& pdf);
    bool save(const std::string& jobName, const Data& pdf, const Recognition& recognition,
              const std::filesystem::path& destination);
    Result<void, std::string> write(const std::string& jobName, const Data& pdf,
                                    const Recognition& recognition,
                                    const std::filesystem::path& destination);
    Result<void, std::string> writeSearchably(const std::string& jobName,
                                              const Recognition& recognition,
                                              const std::filesystem::path& destination);

    const JobEnvironment environment_;
    Log& log_;
    const OCR ocr_;
    const Completion completion_;
};

} // namespace korvane
