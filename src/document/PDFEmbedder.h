#pragma once

#include "base/Result.h"
#include "event/Queue.h"
#include "page/DocumentInformation.h"
#include "recognition/DocumentService.h"
#include "recognition/OCRPage.h"

#include <filesystem>
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
using Completion = std::function<void(Result<void, Error>)>;

/**
 * Writes a copy of the source, whose pages from the first on have these results, beside the
 * destination, which it then replaces: a reader of the folder never sees half a file. The
 * information gets the creator "Korvane". On failure the destination is as it was. Called where
 * files may be waited for; a worker writes the copy, and the queue for files, which may wait too,
 * gives it its name. The source lives until the completion.
 */
void writeSearchablePDF(OpenDocument& source, std::span<const OCRPageResult> pages,
                        const std::filesystem::path& destination, DocumentInformation information,
                        Queue& files, Completion completion);

} // namespace korvane::PDFEmbedder
