#include "raster/RasterError.h"

#include <fmt/format.h>

namespace korvane {

std::string RasterError::errorDescription() const
{
    struct Describe {
        std::string_view kind;

        std::string operator()(const Unsupported& error) const
        {
            return fmt::format("Unsupported {}: {}", kind, error.detail);
        }
        std::string operator()(const WrongMagic&) const
        {
            return fmt::format("Document is not {}.", kind);
        }
        std::string operator()(const Truncated&) const
        {
            return fmt::format("{} document is truncated.", kind);
        }
        std::string operator()(const NotWritten& error) const
        {
            return "Cannot write PDF: " + error.error.description();
        }
    };
    return std::visit(Describe{documentKind}, value);
}

} // namespace korvane
