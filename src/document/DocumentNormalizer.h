#pragma once

#include "document/URFDecoder.h"
#include "platform/base/Data.h"
#include "platform/base/Result.h"

#include <string>
#include <variant>

/**
 * Makes PDF of what clients print, or refuses it. The bytes alone tell the format: what the client
 * calls the document plays no part. Keeps no state.
 */
namespace korvane::DocumentNormalizer {

/** Why a document was refused. */
struct NormalizeError {
    struct UnrecognizedFormat {
        /** At most 8 bytes. */
        Data firstBytes;
        friend bool operator==(const UnrecognizedFormat&, const UnrecognizedFormat&) = default;
    };
    struct URFDecodeFailed {
        URFDecoder::Error error;
        friend bool operator==(const URFDecodeFailed&, const URFDecodeFailed&) = default;
    };

    std::variant<UnrecognizedFormat, URFDecodeFailed> value;

    std::string description() const;

    friend bool operator==(const NormalizeError&, const NormalizeError&) = default;
};

/**
 * A PDF document comes back as it is, without being looked into; URF raster is converted, which
 * takes time in proportion to its pixels.
 */
Result<Data, NormalizeError> normalize(const Data& document);

} // namespace korvane::DocumentNormalizer
