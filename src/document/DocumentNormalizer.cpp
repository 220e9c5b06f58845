#include "document/DocumentNormalizer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace korvane::DocumentNormalizer {

namespace {

constexpr std::size_t maxQuotedBytes = 8;

} // namespace

std::string NormalizeError::description() const
{
    if (const auto* failed = std::get_if<URFDecodeFailed>(&value))
        return "URF decode failed: " + failed->error.errorDescription();
    return fmt::format("Unrecognized document format (first bytes: {:02X})",
                       fmt::join(std::get<UnrecognizedFormat>(value).firstBytes.bytes(), " "));
}

Result<Data, NormalizeError> normalize(const Data& document, const DocumentFormat* format)
{
    if (format == nullptr) {
        return failure(
            NormalizeError{NormalizeError::UnrecognizedFormat{document.slice(0, maxQuotedBytes)}});
    }
    switch (format->conversion) {
    case DocumentFormat::Conversion::none: break;
    case DocumentFormat::Conversion::urf:
        return URFDecoder::decodeToPDF(document).map_error([](const URFDecoder::Error& error) {
            return NormalizeError{NormalizeError::URFDecodeFailed{error}};
        });
    }
    return document;
}

} // namespace korvane::DocumentNormalizer
