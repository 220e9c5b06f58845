#include "document/DocumentNormalizer.h"

#include "document/DocumentStart.h"
#include "ipp/DocumentFormat.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace korvane::DocumentNormalizer {

namespace {

constexpr const char* outputIsNoPDF = "its output is not a PDF";

/** How errors tell of what a worker makes of documents. */
struct Step {
    std::string refused;
    std::string failed;
    bool isDecompression = false;

    static Step decompression() { return {"Decompression failed", "Decompression failed", true}; }

    static Step conversion(const DocumentFormat& format)
    {
        std::string failed = fmt::format("{} conversion failed", format.name);
        if (format.conversion == DocumentFormat::Conversion::raster)
            return {fmt::format("{} decode failed", format.name), std::move(failed)};
        return {failed, failed};
    }

    NormalizeError refusal(const std::string& reason) const
    {
        std::string text = fmt::format("{}: {}", refused, reason);
        if (isDecompression) return {NormalizeError::DecompressionFailed{std::move(text)}};
        return {NormalizeError::DecodeFailed{std::move(text)}};
    }

    NormalizeError workerFailure(const std::string& reason) const
    {
        return {NormalizeError::ConversionFailed{fmt::format("{}: {}", failed, reason)}};
    }

    NormalizeError error(const DocumentError& error) const
    {
        switch (error.kind) {
        case DocumentError::Kind::conversion: return refusal(error.description());
        case DocumentError::Kind::cannotWrite: return {NormalizeError::StorageFailed{error.system}};
        default: return workerFailure(error.description());
        }
    }
};

/** A document on its way to PDF. */
class Normalization : public std::enable_shared_from_this<Normalization> {
public:
    Normalization(const DocumentTraits& traits, DocumentService& documents, const Spool& spool,
                  Completion completion)
        : traits_(traits), documents_(documents), spool_(spool), completion_(std::move(completion))
    {
    }

    void begin(const DocumentFile& document)
    {
        const auto start = firstBytes(document);
        if (!start) return fail({NormalizeError::StorageFailed{start.error()}});
        const DocumentFormat* format = recognizeFormat(start->text());
        if (format != nullptr) return convert(document, *format);
        if (std::exchange(traits_.compression, Compression::none) == Compression::none)
            return fail({NormalizeError::UnrecognizedFormat{*start}});
        decompress(document);
    }

private:
    using Written = std::function<void(const DocumentFile& file)>;

    void fail(NormalizeError error) { completion_(failure(std::move(error))); }

    void decompress(const DocumentFile& document)
    {
        const auto output = makeFile(0);
        if (!output) return;
        documents_.decompress(document, spool_.room(), output,
                              whenWritten(output, Step::decompression(),
                                          [this](const DocumentFile& file) { begin(file); }));
    }

    void convert(const DocumentFile& document, const DocumentFormat& format)
    {
        if (format.conversion == DocumentFormat::Conversion::none) return finish(document);
        const bool isPicture = format.conversion == DocumentFormat::Conversion::jpeg;
        const auto output = makeFile(isPicture ? document.length : 0);
        if (!output) return;
        const Step step = Step::conversion(format);
        auto written = whenWritten(output, step, [this, step](const DocumentFile& pdf) {
            if (!beginsLikePDF(pdf)) return fail(step.workerFailure(outputIsNoPDF));
            finish(pdf);
        });
        if (isPicture) {
            documents_.convertPicture(document, traits_.paper, output, std::move(written));
        } else {
            documents_.convertRaster(document, output, std::move(written));
        }
    }

    /** Leaves out the pages that are not wanted. What cannot be copied in part, because it is
     * signed or has none of the pages that are wanted, stays whole. */
    void finish(const DocumentFile& pdf)
    {
        if (traits_.pages.empty()) return completion_(pdf);
        const auto output = makeFile(pdf.length);
        if (!output) return;
        documents_.selectPages(
            pdf, traits_.pages, output,
            [self = shared_from_this(), pdf, output](const DocumentAnswer<std::uint64_t>& length) {
                if (!length && length.error().kind == DocumentError::Kind::cannotWrite)
                    return self->fail({NormalizeError::StorageFailed{length.error().system}});
                self->completion_(length ? DocumentFile{.file = output, .length = *length} : pdf);
            });
    }

    /** For a worker to write so many bytes and more; nothing when that failed. */
    SharedDescriptor makeFile(std::uint64_t length)
    {
        auto made = spool_.makeWorkerFile();
        if (made && spool_.hasRoom(length)) return share(*std::move(made));
        fail({NormalizeError::StorageFailed{made ? SystemError{ENOSPC} : made.error()}});
        return nullptr;
    }

    DocumentCompletion<std::uint64_t> whenWritten(const SharedDescriptor& output, const Step& step,
                                                  const Written& written)
    {
        return [self = shared_from_this(), output, step,
                written](const DocumentAnswer<std::uint64_t>& length) {
            if (!length) return self->fail(step.error(length.error()));
            written(DocumentFile{.file = output, .length = *length});
        };
    }

    DocumentTraits traits_;
    DocumentService& documents_;
    const Spool& spool_;
    Completion completion_;
};

} // namespace

std::string NormalizeError::description() const
{
    struct Describe {
        std::string operator()(const UnrecognizedFormat& error) const
        {
            return fmt::format("Unrecognized document format (first bytes: {:02X})",
                               fmt::join(error.firstBytes.bytes(), " "));
        }
        std::string operator()(const DecodeFailed& error) const { return error.description; }
        std::string operator()(const DecompressionFailed& error) const { return error.description; }
        std::string operator()(const ConversionFailed& error) const { return error.description; }
        std::string operator()(const StorageFailed& error) const
        {
            return error.error.description();
        }
    };
    return std::visit(Describe(), value);
}

void normalize(const DocumentFile& document, const DocumentTraits& traits,
               DocumentService& documents, const Spool& spool, const Completion& completion)
{
    std::make_shared<Normalization>(traits, documents, spool, completion)->begin(document);
}

} // namespace korvane::DocumentNormalizer
