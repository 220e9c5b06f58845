#include "document/OCR.h"

#include "document/Gather.h"
#include "document/PageRecognition.h"
#include "document/RenderedPage.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
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
        if (count > mostPages)
            owner_.log_.error(fmt::format("OCR: {} pages are too many to read", count));
        if (count == 0 || count > mostPages || !readExistingText(count)) return {};
        if (unread_.size() > mostRecognized)
            owner_.log_.note(
                fmt::format("OCR: {} pages are too many to recognise", unread_.size()));
        else if (!unread_.empty())
            recognize();
        return std::move(results_);
    }

private:
    bool readExistingText(std::size_t count);
    void takeExistingText(const PageInfo& page);
    void recognize();
    void recognizePage(std::size_t page);
    void report(std::size_t page, const DocumentError& error) const;

    const OCR& owner_;
    const std::shared_ptr<OpenDocument> document_;
    const double dpi_;
    const std::size_t parallelism_;
    std::vector<OCRPageResult> results_;
    /** The pages without text. */
    std::vector<std::size_t> unread_;
    std::size_t textKept_ = 0;
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
    results_.reserve(count);
    const auto read =
        gather<PageInfo>((count + pagesRead - 1) / pagesRead, 2 * parallelism_,
                         [&](std::size_t request) {
                             const std::size_t first = request * pagesRead;
                             return document_->readPages(first, std::min(pagesRead, count - first));
                         },
                         [&](const PageInfo& page) { takeExistingText(page); });
    if (read) return true;
    if (!read.error().stopped())
        owner_.log_.error("OCR: the pages could not be read: " + read.error().description());
    return false;
}

void OCR::Run::takeExistingText(const PageInfo& page)
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
    // These threads only wait. One more than there are workers keeps all of them busy.
    std::atomic<std::size_t> next = 0;
    std::vector<std::jthread> readers;
    for (std::size_t count = std::min(unread_.size(), parallelism_ + 1); count > 0; --count)
        readers.emplace_back([&] {
            for (std::size_t index = next++; index < unread_.size(); index = next++)
                recognizePage(unread_[index]);
        });
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
