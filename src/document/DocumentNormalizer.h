#pragma once

#include "base/Data.h"
#include "base/Result.h"
#include "document/URFDecoder.h"
#include "ipp/DocumentFormat.h"

#include <string>
#include <variant>

/** Makes PDF of what clients print, or refuses it. Keeps no state. */
namespace korvane::DocumentNormalizer {

/** Why a document was refused. */
struct NormalizeError {
    struct UnrecognizedFormat {
        /** At most 8 bytes. */
        Data firstBytes;
    };
    struct URFDecodeFailed {
        URFDecoder::Error error;
    };

    std::variant<UnrecognizedFormat, URFDecodeFailed> value;

    std::string description() const;
};

/**
 * The document as PDF, given its format as `recognizeFormat` tells it. PDF comes back as it is,
 * without being looked into; a conversion takes time in proportion to the document's pixels.
 */
Result<Data, NormalizeError> normalize(const Data& document, const DocumentFormat* format);

} // namespace korvane::DocumentNormalizer
