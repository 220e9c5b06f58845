#pragma once

#include "document/OCRPage.h"
#include "platform/base/Result.h"
#include "platform/pdf/DocumentInformation.h"
#include "platform/pdf/PDFWriteError.h"
#include "platform/pdf/PageTextLayer.h"

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/**
 * Writes the searchable PDF of a job: its pages as they are, each with the lines that were
 * recognised on it as invisible text. Keeps no state.
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

    friend bool operator==(const Error&, const Error&) = default;
};

/**
 * Writes a copy of the source with these layers, one for each page from the first on, and this
 * document information to the descriptor, an empty file.
 */
using Write = std::function<Result<void, PDFWriteError>(const std::vector<PageTextLayer>& layers,
                                                        const DocumentInformation& information,
                                                        int outputDescriptor)>;

/**
 * Has the PDF written beside its destination, which it then replaces: a reader of the folder never
 * sees half a file. The information gets the creator "Korvane". On failure the destination is as
 * it was.
 */
Result<void, Error> writeSearchablePDF(std::span<const OCRPageResult> pages,
                                       const std::filesystem::path& destination,
                                       DocumentInformation information, const Write& write);

/**
 * The spans as lines, each in the size of Helvetica that makes it as wide as its rectangle. What
 * ends a line or is a control character becomes a space or goes; spans without text are left out.
 */
std::vector<TextLine> drawTextLayer(std::span<const OCRSpan> spans);

} // namespace korvane::PDFEmbedder
