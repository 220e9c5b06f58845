#include "document/SavingJob.h"

#include "base/AtomicFile.h"
#include "base/TimeText.h"
#include "document/FileNaming.h"
#include "document/PDFEmbedder.h"
#include "document/TemporaryDocument.h"
#include "document/TextSummary.h"

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

} // namespace

SavingJob::SavingJob(const JobEnvironment& environment, Document document, Completion completion,
                     std::function<void()> ended)
    : environment_(environment), log_(environment.log), document_(std::move(document)),
      completion_(std::move(completion)), ended_(std::move(ended))
{
}

SavingJob::~SavingJob()
{
    try {
        if (!isConcluded_) conclude(writeUnchanged());
    } catch (...) { // NOLINT(bugprone-empty-catch): there is nobody to report it to
    }
    ended_();
}

void SavingJob::begin()
{
    destination_ = document_.saveDirectory / fileName(document_.jobName, environment_.clock.now());
    const auto file = writeTemporaryDocument(document_.pdf);
    if (!file) {
        return takeSource(failure(
            DocumentError{.kind = DocumentError::Kind::cannotWrite, .system = file.error()}));
    }
    environment_.documents.open(
        *file, [self = shared_from_this()](DocumentAnswer<std::shared_ptr<OpenDocument>> source) {
            self->takeSource(std::move(source));
        });
}

/** Whatever goes wrong in recognition, the document is still to be saved. */
void SavingJob::takeSource(DocumentAnswer<std::shared_ptr<OpenDocument>> source)
{
    if (!source) {
        if (!source.error().stopped())
            log_.note("JobPipeline: saving without recognition: " + source.error().description());
        return takePages({});
    }
    source_ = *std::move(source);
    environment_.ocr.recognizePages(source_, recognitionResolution,
                                    [self = shared_from_this()](std::vector<OCRPageResult> pages) {
                                        self->takePages(std::move(pages));
                                    });
}

void SavingJob::takePages(std::vector<OCRPageResult> pages)
{
    pages_ = std::move(pages);
    environment_.queues.background().async([self = shared_from_this()] { self->write(); });
}

void SavingJob::write()
{
    const bool hasSpans =
        std::ranges::any_of(pages_, [](const auto& page) { return !page.spans.empty(); });
    if (!hasSpans) return conclude(writeUnchanged());
    try {
        writeSearchable();
    } catch (const std::exception& error) {
        conclude(failure(std::string(error.what())));
    }
}

void SavingJob::writeSearchable()
{
    PDFEmbedder::writeSearchablePDF(
        *source_, pages_, destination_,
        {{"Title", document_.jobName},
         {"Author", environment_.author},
         {"Subject", subject},
         {"ModDate", pdfTimestamp(environment_.clock.now())}},
        environment_.queues.background(),
        [self = shared_from_this()](const Result<void, PDFEmbedder::Error>& written) {
            self->conclude(written.map_error(&PDFEmbedder::Error::description));
        });
}

Result<void, std::string> SavingJob::writeUnchanged()
{
    if (destination_.empty())
        destination_ =
            document_.saveDirectory / fileName(document_.jobName, environment_.clock.now());
    return writeFileAtomically(destination_, document_.pdf.bytes())
        .map_error(&SystemError::description);
}

/** In the background. A write that failed is followed by one of the document as it was received. */
void SavingJob::conclude(const Result<void, std::string>& written)
{
    if (!written) {
        log_.error("JobPipeline: write failed: " + written.error());
        const auto rewritten = writeUnchanged();
        if (!rewritten) log_.error("JobPipeline: fallback write also failed: " + rewritten.error());
        isConcluded_ = true;
        if (!rewritten) return;
    }
    isConcluded_ = true;
    complete();
}

void SavingJob::complete()
{
    const std::string plainText = joinedTexts(pages_);
    environment_.queues.main().async(
        [completion = completion_,
         job = CompletedJob{.pdfURL = destination_,
                            .plainText = plainText,
                            .summary = makeSummary(plainText, summaryLength),
                            .jobName = document_.jobName}] { completion(job); });
}

} // namespace korvane
