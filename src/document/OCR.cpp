#include "document/OCR.h"

#include "document/PageRecognition.h"
#include "document/RenderedPage.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace korvane {

namespace {

using namespace std::chrono_literals;

/** A document is read so many pages at a time. */
constexpr std::size_t pagesRead = 16;
/** Recognising more would take an hour; nobody scans a book in one job. */
constexpr std::size_t mostRecognized = 5000;
/** Text past this is not kept: a thick book has a megabyte. */
constexpr std::size_t mostText = std::size_t{8} << 20;
constexpr std::size_t mostRecognizedText = std::size_t{32} << 20;
/** A document of more pages was made to keep us busy. */
constexpr std::size_t mostPages = 200'000;
/** Of workers' time, on one page. */
constexpr auto pageLimit = 120s;
constexpr double pointsPerInch = 72;

PDFRect rectangle(const PixelBox& line, const PagePicture& picture)
{
    const double scale = pointsPerInch / picture.resolution;
    return {.x = line.left * scale,
            .y = (picture.height - line.bottom) * scale,
            .width = line.width() * scale,
            .height = line.height() * scale};
}

std::string joinedTexts(const std::vector<OCRSpan>& spans)
{
    std::string joined;
    for (const OCRSpan& span : spans) {
        if (&span != &spans.front()) joined += '\n';
        joined += span.text;
    }
    return joined;
}

} // namespace

/** The recognition of one document. */
class OCR::Run {
public:
    Run(const OCR& owner, std::shared_ptr<OpenDocument> document, double dpi)
        : owner_(owner), document_(std::move(document)), dpi_(dpi),
          parallelism_(owner.documents_.parallelism())
    {
    }

    std::vector<OCRPageResult> results()
    {
        const std::size_t count = document_->pageCount();
        if (count == 0) owner_.log_.note("OCR: the document has no pages");
        if (count > mostPages)
            owner_.log_.note(fmt::format("OCR: {} pages are too many to read", count));
        if (count == 0 || count > mostPages) return {};
        const bool isDocument = readExistingText(count);
        if (unreadable_)
            owner_.log_.error("OCR: pages could not be read: " + unreadable_->description());
        if (!isDocument) return {};
        if (unread_.size() > mostRecognized)
            owner_.log_.note(
                fmt::format("OCR: {} pages are too many to recognise", unread_.size()));
        else if (!unread_.empty())
            recognize();
        return std::move(results_);
    }

private:
    bool readExistingText(std::size_t count);
    void readSingly(std::size_t count);
    void takePage(const PageInfo& page);
    void recognize();
    void recognizeOrGiveUp(std::size_t page);
    void recognizePage(std::size_t page);
    void report(std::size_t page, const DocumentError& error) const;

    const OCR& owner_;
    const std::shared_ptr<OpenDocument> document_;
    const double dpi_;
    const std::size_t parallelism_;
    std::vector<OCRPageResult> results_;
    /** The pages without text. */
    std::vector<std::size_t> unread_;
    /** Why pages could not be read, if so. */
    std::optional<DocumentError> unreadable_;
    std::size_t textKept_ = 0;
    std::atomic<std::size_t> textRecognized_ = 0;
    std::vector<std::string> languages_;
};

OCR::OCR(DocumentService& documents, std::vector<std::string> userLanguages, Log& log)
    : documents_(documents), userLanguages_(std::move(userLanguages)), log_(log)
{
}

std::vector<OCRPageResult> OCR::recognizePages(const std::shared_ptr<OpenDocument>& document,
                                               double dpi) const
{
    return Run(*this, document, dpi).results();
}

bool OCR::Run::readExistingText(std::size_t count)
{
    struct Batch {
        std::size_t first = 0;
        std::size_t count = 0;
        std::future<DocumentAnswer<std::vector<PageInfo>>> pages;
    };
    std::deque<Batch> open;
    std::size_t asked = 0;
    while (results_.size() < count) {
        for (; asked < count && open.size() < 2 * parallelism_; asked += open.back().count) {
            const std::size_t some = std::min(pagesRead, count - asked);
            open.push_back({asked, some, document_->readPages(asked, some)});
        }
        const auto pages = open.front().pages.get();
        if (pages) {
            std::ranges::for_each(*pages, [this](const PageInfo& page) { takePage(page); });
        } else {
            if (!pages.error().stopped()) unreadable_ = pages.error();
            if (pages.error().kind == DocumentError::Kind::notReadable) return false;
            readSingly(open.front().count);
        }
        open.pop_front();
    }
    return true;
}

/** One page that cannot be read is not to cost those that were asked for with it. */
void OCR::Run::readSingly(std::size_t count)
{
    for (; count > 0; --count) {
        const auto page = document_->readPages(results_.size(), 1).get();
        takePage(page ? page->front() : PageInfo{.exists = false});
    }
}

void OCR::Run::takePage(const PageInfo& page)
{
    const std::size_t index = results_.size();
    OCRPageResult& result = results_.emplace_back();
    result.pageRect = page.mediaBox;
    const std::string_view text = text::trimmingSpace(page.text);
    const std::size_t characters = text::characterCount(text);
    if (characters < textLayerMinimumCharacters) {
        if (page.exists) unread_.push_back(index);
        return;
    }
    owner_.log_.note(fmt::format("OCR: page {} already has a text layer ({} chars); skipping OCR",
                                 index + 1, characters));
    result.plainText = text::prefixOfSequences(text, mostText - textKept_);
    textKept_ += result.plainText.size();
}

void OCR::Run::recognize()
{
    languages_ = owner_.documents_.languages();
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t index = next++; index < unread_.size(); index = next++)
            recognizeOrGiveUp(unread_[index]);
    };
    // These threads only wait. One more than there are workers keeps all of them busy.
    std::vector<std::jthread> others;
    try {
        for (std::size_t count = std::min(unread_.size() - 1, parallelism_); count > 0; --count)
            others.emplace_back(work);
    } catch (const std::system_error&) {
        // With fewer threads it takes longer.
    }
    work();
}

/** What goes wrong here, memory that is short for example, costs the page. */
void OCR::Run::recognizeOrGiveUp(std::size_t page)
{
    try {
        recognizePage(page);
    } catch (const std::exception& error) {
        results_[page].spans.clear();
        owner_.log_.error(fmt::format("OCR: page {} was given up: {}", page + 1, error.what()));
    }
}

void OCR::Run::recognizePage(std::size_t page)
{
    auto laidOut = document_->layOut(page, dpi_).get();
    if (!laidOut) {
        report(page, laidOut.error());
        return;
    }
    OCRPageResult& result = results_[page];
    result.pageImage =
        std::make_shared<RenderedPage>(document_, page, laidOut->picture.resolution,
                                       static_cast<std::size_t>(laidOut->picture.width),
                                       static_cast<std::size_t>(laidOut->picture.height));
    auto read = PageRecognition(*document_, languages_, owner_.userLanguages_, parallelism_)
                    .read(std::move(*laidOut), pageLimit);
    if (!read) {
        if (!read.error().stopped())
            owner_.log_.error("OCR: Vision perform failed: " + read.error().description());
        return;
    }
    std::size_t size = 0;
    for (const RecognizedLine& line : read->texts) size += line.text.size();
    if ((textRecognized_ += size) > mostRecognizedText) {
        owner_.log_.error(fmt::format("OCR: page {} has more text than can be kept", page + 1));
        return;
    }
    result.readingTurns = read->readingTurns;
    for (std::size_t index = 0; index < read->texts.size(); ++index) {
        // What looked like a line and holds no letter.
        if (read->texts[index].text.empty()) continue;
        result.spans.push_back({.text = std::move(read->texts[index].text),
                                .rect = rectangle(read->lines[index], read->picture)});
    }
    result.plainText = joinedTexts(result.spans);
}

void OCR::Run::report(std::size_t page, const DocumentError& error) const
{
    // A page without a single pixel is nothing to speak of.
    if (error.stopped() || error.kind == DocumentError::Kind::noPage) return;
    owner_.log_.error(
        fmt::format("OCR: page {} could not be rendered: {}", page + 1, error.description()));
}

} // namespace korvane
