#pragma once

#include "base/DocumentFile.h"
#include "base/Result.h"
#include "event/Queue.h"
#include "page/DocumentInformation.h"
#include "recognition/DocumentService.h"
#include "recognition/OCRPage.h"
#include "spool/Spool.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/**
 * Writes the searchable PDF of a job: its pages as they are, each with the lines that were
 * recognized on it as invisible text. Keeps no state.
 */
namespace korvane::PDFEmbedder {

inline constexpr std::string_view errorDomain = "PDFEmbedder";

struct Error {
    enum class Code {
        cannotOpenSource = 1,
        cannotCreateDestination = 2,
        sourceIsSigned = 3,
        cannotWrite = 4,
        workerFailed = 5,
    };

    Code code = Code::cannotOpenSource;
    /** What a log should tell besides; may be empty. */
    std::string detail;

    /** For example "Cannot open source PDF". */
    std::string_view localizedDescription() const;

    /** For the log: the above with the domain, the code and the detail. */
    std::string description() const;
};

/** Called once, on the queue for files or, when nothing could be begun, on the calling thread. */
using Completion = std::function<void(const Result<DocumentFile, Error>&)>;

/**
 * Has a worker write a copy of the source, whose pages from the first on have these results, to a
 * file of the spool. The information gets the creator "Korvane". The source lives until the
 * completion.
 */
void writeSearchablePDF(OpenDocument& source, std::span<const OCRPageResult> pages,
                        DocumentInformation information, const Spool& spool, Queue& files,
                        Completion completion);

} // namespace korvane::PDFEmbedder
