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
    struct URFDecodeFailed {
        std::string reason;
    };
    /** The worker failed, which need not be the document's fault. */
    struct ConversionFailed {
        std::string reason;
    };
    /** The document could not be read, or its PDF not be written. */
    struct StorageFailed {
        SystemError error;
    };

    std::variant<UnrecognizedFormat, URFDecodeFailed, ConversionFailed, StorageFailed> value;

    std::string description() const;

    /** Whether the document itself was refused, and would be so every time. */
    bool isRefusal() const { return value.index() < 2; }
};

/** Called once, perhaps on another queue; must not block. */
using Completion = std::function<void(Result<DocumentFile, NormalizeError>)>;

/**
 * Gives the document as PDF. PDF comes back as it is, without being looked into; other formats are
 * converted by a worker into a file of the spool, in time in proportion to the document's pixels.
 * Called where files may be waited for.
 */
void normalize(const DocumentFile& document, const DocumentTraits& traits,
               DocumentService& documents, const Spool& spool, const Completion& completion);

} // namespace korvane::DocumentNormalizer
