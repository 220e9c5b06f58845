#include "document/DocumentNormalizer.h"

#include "document/DocumentStart.h"
#include "ipp/DocumentFormat.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

namespace korvane::DocumentNormalizer {

namespace {

constexpr const char* outputIsNoPDF = "its output is not a PDF";

NormalizeError conversionError(const DocumentError& error)
{
    switch (error.kind) {
    case DocumentError::Kind::conversion:
        return {NormalizeError::URFDecodeFailed{error.description()}};
    case DocumentError::Kind::cannotWrite: return {NormalizeError::StorageFailed{error.system}};
    default: return {NormalizeError::ConversionFailed{error.description()}};
    }
}

void convertRaster(const DocumentFile& raster, DocumentService& documents, const Spool& spool,
                   const Completion& completion)
{
    auto made = spool.makeWorkerFile();
    if (!made)
        return completion(failure(NormalizeError{NormalizeError::StorageFailed{made.error()}}));
    const SharedDescriptor file = share(*std::move(made));
    documents.convertRaster(
        raster, file, [file, completion](const DocumentAnswer<std::uint64_t>& length) {
            if (!length) return completion(failure(conversionError(length.error())));
            const DocumentFile pdf{.file = file, .length = *length};
            if (!beginsLikePDF(pdf))
                return completion(
                    failure(NormalizeError{NormalizeError::ConversionFailed{outputIsNoPDF}}));
            completion(pdf);
        });
}

} // namespace

std::string NormalizeError::description() const
{
    struct Describe {
        std::string operator()(const UnrecognizedFormat& error) const
        {
            return fmt::format("Unrecognized document format (first bytes: {:02X})",
                               fmt::join(error.firstBytes.bytes(), " "));
        }
        std::string operator()(const URFDecodeFailed& error) const
        {
            return "URF decode failed: " + error.reason;
        }
        std::string operator()(const ConversionFailed& error) const
        {
            return "URF conversion failed: " + error.reason;
        }
        std::string operator()(const StorageFailed& error) const
        {
            return error.error.description();
        }
    };
    return std::visit(Describe(), value);
}

void normalize(const DocumentFile& document, const DocumentTraits& /*traits*/,
               DocumentService& documents, const Spool& spool, const Completion& completion)
{
    const auto start = firstBytes(document);
    if (!start)
        return completion(failure(NormalizeError{NormalizeError::StorageFailed{start.error()}}));
    const DocumentFormat* format = recognizeFormat(start->text());
    if (format == nullptr)
        return completion(failure(NormalizeError{NormalizeError::UnrecognizedFormat{*start}}));
    switch (format->conversion) {
    case DocumentFormat::Conversion::none: return completion(document);
    case DocumentFormat::Conversion::raster:
        return convertRaster(document, documents, spool, completion);
    }
}

} // namespace korvane::DocumentNormalizer
