#pragma once

#include "base/Data.h"
#include "base/DocumentFile.h"
#include "base/Result.h"
#include "base/SystemError.h"
#include "document/DocumentTraits.h"
#include "recognition/DocumentService.h"
#include "spool/Spool.h"

#include <functional>
#include <string>
#include <variant>

/** Makes PDF of what clients print, or refuses it. Keeps no state. */
namespace korvane::DocumentNormalizer {

/** Why there is no PDF. */
struct NormalizeError {
    /** The document was refused. */
    struct UnrecognizedFormat {
        /** At most 8 bytes. */
        Data firstBytes;
    };
    /** The document was refused: it is damaged, or uses what cannot be converted. */
    struct DecodeFailed {
        std::string description;
    };
    /** The document was refused: it is not compressed as the client says, or damaged. */
    struct DecompressionFailed {
        std::string description;
    };
    /** The worker failed, which need not be the document's fault. */
    struct ConversionFailed {
        std::string description;
    };
    /** The document could not be read, or its PDF not be written. */
    struct StorageFailed {
        SystemError error;
    };

    std::variant<UnrecognizedFormat, DecodeFailed, DecompressionFailed, ConversionFailed,
                 StorageFailed>
        value;

    std::string description() const;

    /** Whether the document itself was refused, and would be so every time. */
    bool isRefusal() const { return value.index() < 3; }
};

/** Called once, perhaps on another queue; must not block. */
using Completion = std::function<void(Result<DocumentFile, NormalizeError>)>;

/**
 * Gives the document as PDF. PDF comes back as it is, without being looked into; other formats are
 * converted by a worker into a file of the spool, in time in proportion to the document's pixels,
 * pictures for the paper of the job. Of a PDF only the pages that are wanted are left. What is of
 * no known format is decompressed before if the traits say that it is compressed. Called where
 * files may be waited for; `documents` and `spool` outlive the completion.
 */
void normalize(const DocumentFile& document, const DocumentTraits& traits,
               DocumentService& documents, const Spool& spool, const Completion& completion);

} // namespace korvane::DocumentNormalizer
