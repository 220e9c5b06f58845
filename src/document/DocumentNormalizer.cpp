#include "document/DocumentNormalizer.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace korvane::DocumentNormalizer {

namespace {

constexpr std::size_t quotedBytes = 8;

struct Describe {
    std::string operator()(const NormalizeError::UnrecognizedFormat& error) const
    {
        return fmt::format("Unrecognized document format (first bytes: {:02X})",
                           fmt::join(error.firstBytes.bytes(), " "));
    }
    std::string operator()(const NormalizeError::URFDecodeFailed& error) const
    {
        return "URF decode failed: " + error.error.errorDescription();
    }
};

} // namespace

std::string NormalizeError::description() const
{
    return std::visit(Describe{}, value);
}

Result<Data, NormalizeError> normalize(const Data& document)
{
    if (document.text().starts_with("%PDF")) return document;
    if (URFDecoder::isURF(document)) {
        return URFDecoder::decodeToPDF(document).map_error([](const URFDecoder::Error& error) {
            return NormalizeError{NormalizeError::URFDecodeFailed{error}};
        });
    }
    return failure(
        NormalizeError{NormalizeError::UnrecognizedFormat{document.slice(0, quotedBytes)}});
}

} // namespace korvane::DocumentNormalizer
