#include "document/SavingJob.h"

#include "base/TimeText.h"
#include "document/PDFEmbedder.h"
#include "text/Joined.h"

#include <algorithm>
#include <utility>

namespace korvane {

namespace {

constexpr double recognitionResolution = 200;
constexpr const char* subject = "Captured by Korvane";

std::string joinedTexts(const std::vector<OCRPageResult>& pages)
{
    return text::joined(pages, "\n\n", &OCRPageResult::plainText);
}

} // namespace

SavingJob::SavingJob(const JobEnvironment& environment, std::shared_ptr<JobPublication> publication)
    : environment_(environment), log_(environment.log), printJob_(publication->printJob()),
      jobName_(publication->ticket().jobName),
      folder_(environment.folders.of(publication->ticket().saveDirectory)),
      publication_(std::move(publication))
{
}

SavingJob::~SavingJob()
{
    if (!publication_ || printJob_->isCanceled()) return;
    try {
        concludeAsReceived();
    } catch (...) { // NOLINT(bugprone-empty-catch): the job is in the spool
    }
}

void SavingJob::begin()
{
    folder_->async([self = shared_from_this()] { self->open(); });
}

void SavingJob::cancel()
{
    const std::scoped_lock lock(mutex_);
    if (source_) source_->cancel();
}

/** Whatever goes wrong in recognition, the document is still to be saved. */
void SavingJob::open()
{
    const auto document = publication_->open();
    if (!document) return publication_.reset();
    if (!*document) {
        log_.note("JobPipeline: saving without recognition: " + document->error().description());
        return takePages({});
    }
    environment_.documents.open(
        **document,
        [self = shared_from_this()](DocumentAnswer<std::shared_ptr<OpenDocument>> source) {
            self->takeSource(std::move(source));
        });
}

void SavingJob::takeSource(DocumentAnswer<std::shared_ptr<OpenDocument>> source)
{
    if (!source) {
        if (!source.error().stopped())
            log_.note("JobPipeline: saving without recognition: " + source.error().description());
        return takePages({});
    }
    {
        const std::scoped_lock lock(mutex_);
        source_ = *std::move(source);
    }
    // Either this sees that the job is canceled, or `cancel` sees the document.
    if (printJob_->isCanceled()) return takePages({});
    printJob_->process(source_->pageCount());
    environment_.ocr.recognizePages(
        source_, recognitionResolution, [printJob = printJob_] { printJob->completePage(); },
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
    if (!hasSpans || printJob_->isCanceled()) return concludeAsReceived();
    PDFEmbedder::writeSearchablePDF(
        *source_, pages_,
        {{"Title", jobName_},
         {"Author", environment_.author},
         {"Subject", subject},
         {"ModDate", pdfTimestamp(environment_.clock.now())}},
        environment_.spool, environment_.queues.background(),
        [self = shared_from_this()](const Result<DocumentFile, PDFEmbedder::Error>& pdf) {
            self->conclude([pdf = pdf.map_error(&PDFEmbedder::Error::description),
                            text = joinedTexts(self->pages_)](JobPublication& publication) {
                publication.publish(pdf, text);
            });
        });
}

void SavingJob::concludeAsReceived()
{
    conclude([text = joinedTexts(pages_)](JobPublication& publication) {
        publication.publishAsReceived(text);
    });
}

void SavingJob::conclude(Step step)
{
    folder_->async([publication = publication_, step = std::move(step)] { step(*publication); });
    publication_.reset();
}

} // namespace korvane
