#include "document/PDFEmbedder.h"

#include "base/SystemError.h"
#include "document/DocumentStart.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cstdint>
#include <utility>

namespace korvane::PDFEmbedder {

namespace {

Error makeError(const PDFWriteError& error)
{
    switch (error.kind) {
    case PDFWriteError::Kind::cannotOpenSource:
        return {Error::Code::cannotOpenSource, error.detail};
    case PDFWriteError::Kind::sourceIsSigned: return {Error::Code::sourceIsSigned, error.detail};
    case PDFWriteError::Kind::cannotWrite: return {Error::Code::cannotWrite, error.detail};
    case PDFWriteError::Kind::workerFailed: break;
    }
    return {Error::Code::workerFailed, error.detail};
}

std::vector<PageTextLayer> makeLayers(std::span<const OCRPageResult> pages)
{
    std::vector<PageTextLayer> layers;
    layers.reserve(pages.size());
    for (const OCRPageResult& page : pages) {
        PageTextLayer& layer = layers.emplace_back();
        for (const OCRSpan& span : page.spans) layer.lines.push_back(span.line);
    }
    return layers;
}

Result<DocumentFile, Error> takeOutput(SharedDescriptor file)
{
    struct stat status {};
    if (::fstat(file->get(), &status) != 0)
        return failure(Error{Error::Code::cannotWrite, SystemError::last().description()});
    DocumentFile pdf{std::move(file), static_cast<std::uint64_t>(status.st_size)};
    if (!beginsLikePDF(pdf))
        return failure(Error{Error::Code::workerFailed, "its output is not a PDF"});
    return pdf;
}

} // namespace

std::string_view Error::localizedDescription() const
{
    switch (code) {
    case Code::cannotOpenSource: return "Cannot open source PDF";
    case Code::cannotCreateDestination: return "Cannot create destination PDF context";
    case Code::sourceIsSigned: return "The source PDF is digitally signed and is not changed";
    case Code::cannotWrite: return "Cannot write destination PDF";
    case Code::workerFailed: break;
    }
    return "The PDF writer failed";
}

std::string Error::description() const
{
    std::string text =
        fmt::format("{} ({} error {}", localizedDescription(), errorDomain, static_cast<int>(code));
    if (!detail.empty()) text += ": " + detail;
    return text + ")";
}

void writeSearchablePDF(OpenDocument& source, std::span<const OCRPageResult> pages,
                        DocumentInformation information, const Spool& spool, Queue& files,
                        Completion completion)
{
    information.insert_or_assign("Creator", "Korvane");
    auto made = spool.makeFile();
    if (!made) {
        return completion(
            failure(Error{Error::Code::cannotCreateDestination, made.error().description()}));
    }
    const SharedDescriptor file = share(*std::move(made));
    source.write(makeLayers(pages), std::move(information), file,
                 [file, &files,
                  completion = std::move(completion)](const Result<void, PDFWriteError>& written) {
                     files.async([file, completion, written] {
                         completion(written ? takeOutput(file)
                                            : failure(makeError(written.error())));
                     });
                 });
}

} // namespace korvane::PDFEmbedder
