#pragma once

#include "base/SystemError.h"

#include <string>
#include <string_view>
#include <variant>

namespace korvane {

/** Why a raster document was not decoded. */
struct RasterError {
    /** The document uses something that is refused or cannot be built. */
    struct Unsupported {
        std::string detail;
    };
    /** The document does not begin with the magic. */
    struct WrongMagic {};
    /** The document ends too early. */
    struct Truncated {};
    /** Nothing is wrong with the document: the PDF could not be written. */
    struct NotWritten {
        SystemError error;
    };

    std::variant<Unsupported, WrongMagic, Truncated, NotWritten> value;
    /** What kind of document it is, or should have been; a literal. */
    std::string_view documentKind;

    std::string errorDescription() const;
};

} // namespace korvane
