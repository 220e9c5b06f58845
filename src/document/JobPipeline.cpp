#include "document/JobPipeline.h"

#include "document/FileNaming.h"
#include "document/PDFEmbedder.h"
#include "document/TextSummary.h"
#include "platform/files/AtomicFile.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace korvane {

namespace {

constexpr double recognitionResolution = 200;
constexpr std::size_t summaryLength = 200;
constexpr const char* subject = "Captured by Korvane";

std::string joinedTexts(const std::vector<OCRPageResult>& pages)
{
    std::string joined;
    for (const OCRPageResult& page : pages) {
        if (&page != &pages.front()) joined += "\n\n";
        joined += page.plainText;
    }
    return joined;
}

Result<void, std::string> writePlainly(const std::filesystem::path& destination, const Data& pdf)
{
    const auto written = writeFileAtomically(destination, pdf.bytes());
    if (!written) return failure(written.error().description());
    return {};
}

} // namespace

/** The document as it is open elsewhere, and what was found on its pages. */
struct JobPipeline::Recognition {
    std::shared_ptr<OpenDocument> document;
    std::vector<OCRPageResult> pages;

    bool hasSpans() const
    {
        return std::any_of(pages.begin(), pages.end(),
                           [](const OCRPageResult& page) { return !page.spans.empty(); });
    }
};

JobPipeline::JobPipeline(const JobEnvironment& environment, Completion completion)
    : environment_(environment), log_(environment.log),
      ocr_(environment.documents, environment.userLanguages, environment.log),
      completion_(std::move(completion))
{
}

void JobPipeline::process(const std::string& jobName, const Data& pdf,
                          const std::filesystem::path& saveDirectory)
{
    environment_.queues.background().async(
        [self = shared_from_this(), jobName, pdf, saveDirectory] {
            self->run(jobName, pdf, saveDirectory);
        });
}

void JobPipeline::run(const std::string& jobName, const Data& pdf,
                      const std::filesystem::path& saveDirectory)
{
    const std::filesystem::path destination =
        saveDirectory / fileName(jobName, environment_.clock.now());
    const Recognition recognition = recognizeIfPossible(pdf);
    const std::string plainText = joinedTexts(recognition.pages);
    if (!save(jobName, pdf, recognition, destination)) return;
    const CompletedJob job{.pdfURL = destination,
                           .plainText = plainText,
                           .summary = makeSummary(plainText, summaryLength),
                           .jobName = jobName};
    environment_.queues.main().async([self = shared_from_this(), job] { self->completion_(job); });
}

/** Whatever goes wrong in recognition, the document is still to be saved. */
JobPipeline::Recognition JobPipeline::recognizeIfPossible(const Data& pdf)
{
    try {
        return recognize(pdf);
    } catch (const std::exception& error) {
        log_.error(std::string("JobPipeline: saving without recognition: ") + error.what());
        return {};
    }
}

JobPipeline::Recognition JobPipeline::recognize(const Data& pdf)
{
    auto document = environment_.documents.open(pdf);
    if (!document) {
        if (!document.error().stopped())
            log_.note("JobPipeline: saving without recognition: " + document.error().description());
        return {};
    }
    std::vector<OCRPageResult> pages = ocr_.recognizePages(*document, recognitionResolution);
    return {.document = std::move(*document), .pages = std::move(pages)};
}

bool JobPipeline::save(const std::string& jobName, const Data& pdf, const Recognition& recognition,
                       const std::filesystem::path& destination)
{
    const auto written = write(jobName, pdf, recognition, destination);
    if (written) return true;
    log_.error("JobPipeline: write failed: " + written.error());
    const auto rewritten = writePlainly(destination, pdf);
    if (rewritten) return true;
    log_.error("JobPipeline: fallback write also failed: " + rewritten.error());
    return false;
}

Result<void, std::string> JobPipeline::write(const std::string& jobName, const Data& pdf,
                                             const Recognition& recognition,
                                             const std::filesystem::path& destination)
{
    if (!recognition.hasSpans()) return writePlainly(destination, pdf);
    try {
        return writeSearchably(jobName, recognition, destination);
    } catch (const std::exception& error) {
        return failure(std::string(error.what()));
    }
}

Result<void, std::string> JobPipeline::writeSearchably(const std::string& jobName,
                                                       const Recognition& recognition,
                                                       const std::filesystem::path& destination)
{
    const auto written = PDFEmbedder::writeSearchablePDF(
        recognition.pages, destination,
        {{"Title", jobName}, {"Author", environment_.author}, {"Subject", subject}},
        [&](const std::vector<PageTextLayer>& layers, const DocumentInformation& information,
            int output) { return recognition.document->write(layers, information, output); });
    if (!written) return failure(written.error().description());
    return {};
}

} // namespace korvane
