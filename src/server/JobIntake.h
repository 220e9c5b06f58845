#pragma once

#include "base/DocumentFile.h"
#include "base/Log.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "document/DocumentNormalizer.h"
#include "document/DocumentTraits.h"
#include "event/Queue.h"
#include "job/PrintJob.h"
#include "recognition/DocumentService.h"
#include "server/PrinterCallbacks.h"
#include "spool/Spool.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/** What jobs are taken in with. All that is referred to outlives the server. */
struct IntakeEnvironment {
    /** The server's. */
    std::shared_ptr<SerialQueue> queue;
    Queue& background;
    Spool& spool;
    DocumentService& documents;
    Log& log;
};

/** A job whose document has arrived. */
struct ArrivedJob {
    std::shared_ptr<PrintJob> job;
    DocumentTraits traits;

    const std::string& name() const { return job->origin().name; }
};

/** Why a job was not taken. */
struct IntakeError {
    enum class Kind {
        unknownFormat, ///< the document is in no format that we read
        damaged,       ///< the document is, or it uses what cannot be converted
        compression,   ///< the document cannot be decompressed
        notKept,       ///< no worker, no room: it may go well another time
        canceled,      ///< the job was canceled meanwhile
    };
    Kind kind = Kind::notKept;
    std::string description;
    /** What the disk said, if it was that. */
    std::optional<SystemError> storage = {};
    /** Where the refused document is kept. */
    std::optional<std::filesystem::path> keptAt = {};

    /** Whether the document is none that we read, now or ever. */
    bool isRefusal() const { return kind < Kind::notKept; }
    /** A keyword of job-state-reasons (RFC 8011 section 5.3.8). */
    std::string_view reason() const;
};

/**
 * Makes jobs of documents that have arrived: each becomes PDF and is put into the spool, synced,
 * before anybody is told. Several at a time.
 */
class JobIntake : public std::enable_shared_from_this<JobIntake> {
public:
    using Taken = Result<std::shared_ptr<SpooledJob>, IntakeError>;
    /** Called on the server's queue. */
    using Completion = std::function<void(Taken)>;

    JobIntake(IntakeEnvironment environment, PrinterCallbacks printer);

    const IntakeEnvironment& environment() const { return environment_; }
    const PrinterCallbacks& printer() const { return printer_; }

    /** Takes a document of the spool in, or the lack of one; called in the background. */
    void take(const ArrivedJob& arrived, const Result<DocumentFile, SystemError>& document,
              const Completion& completion) const;

private:
    using Normalized = Result<DocumentFile, DocumentNormalizer::NormalizeError>;

    Taken accept(const ArrivedJob& arrived, const DocumentFile& document,
                 const Normalized& pdf) const;
    IntakeError refuse(const ArrivedJob& arrived, const DocumentFile& document,
                       const DocumentNormalizer::NormalizeError& error) const;
    void report(const ArrivedJob& arrived, const Taken& taken, const Completion& completion) const;

    const IntakeEnvironment environment_;
    const PrinterCallbacks printer_;
};

} // namespace korvane
