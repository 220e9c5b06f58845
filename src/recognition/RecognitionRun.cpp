#include "recognition/RecognitionRun.h"

#include "recognition/DocumentFields.h"
#include "recognition/PageText.h"
#include "text/Joined.h"
#include "text/Text.h"
#include "workerpool/FieldWriter.h"
#include "workerpool/WorkerMessage.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace korvane {

namespace {

using Kind = PageProblems::Kind;

/** Pages whose text is read in one request. */
constexpr std::size_t pagesPerRequest = 16;
/** Recognizing more pages would take an hour; nobody scans a book in one job. */
constexpr std::size_t maxRecognized = 5000;
/** Bytes of text that are kept of a document: a thick book has a megabyte. */
constexpr std::size_t maxText = std::size_t{8} << 20;
/** Bytes of recognized lines as they are sent to the worker that writes them, in one message with a
 *  few megabytes of other things. 500 words take 17 kB. */
constexpr std::size_t maxLinesSize = WorkerMessage::maxPayload - (std::size_t{4} << 20);
/** No honest document has more pages. */
constexpr std::size_t maxPages = 200'000;
/** At 200 dpi Tesseract misreads footnotes and other small print, whose letters are 10 pixels high
 *  then; it is made for letters twice as high, which 300 dpi gives. */
constexpr double recognitionScale = 1.5;

std::size_t sizeInMessage(const TextLine& line)
{
    WireWriter out;
    FieldWriter coder(out);
    fields(coder, line);
    return out.size();
}

} // namespace

RecognitionRun::RecognitionRun(std::shared_ptr<RecognitionContext> context,
                               std::shared_ptr<OpenDocument> document, double dpi,
                               OCR::PageDone pageDone, OCR::Completion completion)
    : context_(std::move(context)), log_(context_->log), document_(std::move(document)), dpi_(dpi),
      pageCount_(document_->pageCount()), pageDone_(std::move(pageDone)),
      completion_(std::move(completion))
{
}

RecognitionRun::~RecognitionRun()
{
    try {
        finish();
    } catch (...) { // NOLINT(bugprone-empty-catch): there is nobody to report it to
    }
}

void RecognitionRun::start()
{
    if (pageCount_ == 0) log_.note("OCR: the document has no pages");
    if (pageCount_ > maxPages)
        log_.note(fmt::format("OCR: {} pages are too many to read", pageCount_));
    if (pageCount_ == 0 || pageCount_ > maxPages) return finish();
    readNext();
}

/** Has a step take an answer on the queue of the context. */
template <typename T>
DocumentCompletion<T>
RecognitionRun::onQueue(std::function<void(RecognitionRun&, DocumentAnswer<T>)> step)
{
    return [self = shared_from_this(), step = std::move(step)](DocumentAnswer<T> answer) {
        self->context_->queue->async(
            [self, step, answer = std::move(answer)]() mutable { step(*self, std::move(answer)); });
    };
}

/** A document with text on all pages uses one worker: no batch is asked for before the one before
 *  has come. */
void RecognitionRun::readNext()
{
    const std::size_t first = results_.size();
    if (first == pageCount_) return askForLanguages();
    const std::size_t count =
        first < readSinglyUntil_ ? 1 : std::min(pagesPerRequest, pageCount_ - first);
    document_->readPages(first, count,
                         onQueue<Pages>([count](RecognitionRun& self, DocumentAnswer<Pages> pages) {
                             self.takeBatch(count, std::move(pages));
                         }));
}

void RecognitionRun::takeBatch(std::size_t count, DocumentAnswer<Pages> pages)
{
    if (pages) {
        for (const PageInfo& page : *pages) takePage(page);
    } else if (pages.error().stopped()) {
        return stop();
    } else if (count == 1) {
        takeUnreadPage(pages.error());
    } else if (pages.error().kind == DocumentError::Kind::notReadable) {
        log_.error("OCR: pages could not be read: " + pages.error().description());
        results_.clear();
        return finish();
    } else {
        // A page that cannot be read does not affect those of the same request.
        readSinglyUntil_ = results_.size() + count;
    }
    readNext();
}

void RecognitionRun::takePage(const PageInfo& page)
{
    const std::size_t index = results_.size();
    OCRPageResult& result = results_.emplace_back();
    result.pageRect = page.mediaBox;
    const std::string_view text = text::trimmingSpace(page.text);
    const std::size_t characters = text::characterCount(text);
    if (characters < OCR::textLayerMinimumCharacters) {
        page.exists ? withoutText_.push_back(index) : pageDone_();
        return;
    }
    log_.note(fmt::format("OCR: page {} already has a text layer ({} chars); skipping OCR",
                          index + 1, characters));
    result.plainText = text::prefixOfSequences(text, maxText - textKept_);
    textKept_ += result.plainText.size();
    pageDone_();
}

/** What shows on it may still be recognized. */
void RecognitionRun::takeUnreadPage(const DocumentError& error)
{
    const std::size_t index = results_.size();
    results_.emplace_back();
    withoutText_.push_back(index);
    problems_.add(index, Kind::notRead, error.description());
}

void RecognitionRun::askForLanguages()
{
    if (withoutText_.empty()) return finish();
    if (withoutText_.size() > maxRecognized) {
        log_.note(fmt::format("OCR: {} pages are without text; recognizing the first {}",
                              withoutText_.size(), maxRecognized));
        for (std::size_t page = maxRecognized; page < withoutText_.size(); ++page) pageDone_();
        withoutText_.resize(maxRecognized);
    }
    context_->documents.languages(onQueue<std::vector<std::string>>(
        [](RecognitionRun& self, DocumentAnswer<std::vector<std::string>> languages) {
            self.takeLanguages(std::move(languages));
        }));
}

void RecognitionRun::takeLanguages(DocumentAnswer<std::vector<std::string>> languages)
{
    if (!languages) {
        if (languages.error().stopped()) return stop();
        for (const std::size_t page : withoutText_) fail(page, languages.error());
        return finish();
    }
    context_->languages.logMissing(*languages, log_);
    if (languages->empty()) return finish();
    languages_ = context_->languages.options(*std::move(languages));
    recognizeMore();
}

/** One page more than there are workers keeps all of them busy. */
void RecognitionRun::recognizeMore()
{
    const std::size_t maxPending = context_->documents.parallelism() + 1;
    while (pending_ < maxPending && next_ < withoutText_.size()) {
        const auto page = std::make_shared<Page>(Page{.index = withoutText_[next_++]});
        if (recognizeInNextLanguage(page)) {
            ++pending_;
        } else {
            pageDone_();
        }
    }
    if (pending_ == 0) finish();
}

/** False when no further language is worth trying. */
bool RecognitionRun::recognizeInNextLanguage(const std::shared_ptr<Page>& page)
{
    const auto language = nextLanguage(languages_, page->trials);
    if (!language) return false;
    page->trials.push_back({.language = *language});
    document_->recognizePage(
        page->index, recognitionScale * dpi_, *language,
        onQueue<PageReading>([page](RecognitionRun& self, DocumentAnswer<PageReading> reading) {
            self.takeReading(page, std::move(reading));
        }));
    return true;
}

/** An exception, std::bad_alloc for example, costs the page. */
void RecognitionRun::takeReading(const std::shared_ptr<Page>& page,
                                 DocumentAnswer<PageReading> reading)
{
    try {
        // Another language may do without what the recognizer failed on, its own data mostly.
        if (reading) {
            page->trials.back().reading = *std::move(reading);
        } else {
            page->error = reading.error();
        }
        const bool isPageLost =
            page->error && page->error->kind != DocumentError::Kind::recognition;
        if (isPageLost) page->trials.pop_back();
        if (!isPageLost && recognizeInNextLanguage(page)) return;
        conclude(*page);
    } catch (const std::exception& error) {
        results_[page->index].spans.clear();
        problems_.add(page->index, Kind::notRecognized, error.what());
    }
    --pending_;
    pageDone_();
    recognizeMore();
}

void RecognitionRun::conclude(const Page& page)
{
    if (page.error && page.error->stopped()) next_ = withoutText_.size();
    const LanguageTrial* const best = bestTrial(page.trials);
    if (best == nullptr) {
        if (page.error) fail(page.index, *page.error);
        return;
    }
    // The data of the languages that failed is damaged: the page itself can be recognized.
    for (const LanguageTrial& trial : page.trials)
        if (!trial.reading) std::erase(languages_.installed, trial.language);
    const ReadingScore score = scoreReading(*best->reading);
    if (readsWell(score) && tellsLanguage(score)) {
        languages_.ofDocument = best->language;
        context_->languages.remember(best->language);
    }
    takeText(page.index, *best->reading);
    results_[page.index].language = best->language;
}

void RecognitionRun::takeText(std::size_t page, const PageReading& reading)
{
    OCRPageResult& result = results_[page];
    result.pageImage = sizeAt(dpi_, result.pageRect, reading.bitmap);
    if (!reading.isComplete)
        log_.note(fmt::format("OCR: page {}: time limit reached; {} lines recognized", page + 1,
                              reading.lines.size()));
    std::vector<OCRSpan> spans;
    std::size_t size = 0;
    for (const TextLine& line : reading.lines) {
        size += sizeInMessage(line);
        spans.push_back(makeSpan(line));
    }
    if (size > maxLinesSize - linesSize_) {
        log_.error(fmt::format("OCR: page {} has more text than can be kept", page + 1));
        return;
    }
    linesSize_ += size;
    result.plainText = text::joined(spans, "\n", &OCRSpan::text);
    result.spans = std::move(spans);
}

/** A page without a single pixel is not worth a line. */
void RecognitionRun::fail(std::size_t page, const DocumentError& error)
{
    using Failed = DocumentError::Kind;
    if (error.stopped() || error.kind == Failed::noPage) return;
    const bool isUnreadable =
        error.kind == Failed::notReadable || error.kind == Failed::needsPassword;
    problems_.add(page, isUnreadable ? Kind::notRendered : Kind::notRecognized,
                  error.description());
    // It was rendered, on its side perhaps, which its box does not tell.
    if (error.kind == Failed::recognition)
        results_[page].pageImage = sizeAt(dpi_, results_[page].pageRect);
}

/** The agent shuts down, or the document is cancelled: pages have what was recognized until now. */
void RecognitionRun::stop()
{
    results_.resize(pageCount_);
    finish();
}

void RecognitionRun::finish()
{
    if (!completion_) return;
    problems_.logTo(log_);
    const auto completion = std::exchange(completion_, nullptr);
    completion(std::move(results_));
}

} // namespace korvane
