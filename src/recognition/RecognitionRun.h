#pragma once

#include "recognition/LanguageChoice.h"
#include "recognition/OCR.h"
#include "recognition/PageProblems.h"
#include "recognition/RecognitionContext.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/**
 * The recognition of one document, on the queue of its context: reads the text that pages have, in
 * batches of which one is pending at a time, and has those without any recognized, as many at a
 * time as keep all workers busy. Lives until the last answer has come, and is completed at the
 * latest then.
 */
class RecognitionRun : public std::enable_shared_from_this<RecognitionRun> {
public:
    RecognitionRun(std::shared_ptr<RecognitionContext> context,
                   std::shared_ptr<OpenDocument> document, double dpi, OCR::PageDone pageDone,
                   OCR::Completion completion);
    RecognitionRun(const RecognitionRun&) = delete;
    RecognitionRun& operator=(const RecognitionRun&) = delete;
    /** A queue that has ended drops its tasks: what was recognized until then is the result. */
    ~RecognitionRun();

    void start();

private:
    /** A page that is being recognized, and the languages in which that was tried. */
    struct Page {
        std::size_t index = 0;
        std::vector<LanguageTrial> trials;
        /** Why the latest trial failed. */
        std::optional<DocumentError> error;
    };
    using Pages = std::vector<PageInfo>;

    template <typename T>
    DocumentCompletion<T> onQueue(std::function<void(RecognitionRun&, DocumentAnswer<T>)> step);

    void readNext();
    void takeBatch(std::size_t count, DocumentAnswer<Pages> pages);
    void takePage(const PageInfo& page);
    void takeUnreadPage(const DocumentError& error);

    void askForLanguages();
    void takeLanguages(DocumentAnswer<std::vector<std::string>> languages);
    void recognizeMore();
    bool recognizeInNextLanguage(const std::shared_ptr<Page>& page);
    void takeReading(const std::shared_ptr<Page>& page, DocumentAnswer<PageReading> reading);
    void conclude(const Page& page);
    void takeText(std::size_t page, const PageReading& reading);
    void fail(std::size_t page, const DocumentError& error);

    void stop();
    void finish();

    const std::shared_ptr<RecognitionContext> context_;
    Log& log_;
    const std::shared_ptr<OpenDocument> document_;
    const double dpi_;
    const std::size_t pageCount_;
    const OCR::PageDone pageDone_;
    OCR::Completion completion_;

    std::vector<OCRPageResult> results_;
    PageProblems problems_;
    /** Pages before this one are read one by one, because reading them together failed. */
    std::size_t readSinglyUntil_ = 0;
    std::size_t textKept_ = 0;

    /** The pages without a text layer; those from `next_` on have not been begun. */
    std::vector<std::size_t> withoutText_;
    std::size_t next_ = 0;
    std::size_t pending_ = 0;
    /** Of all that was recognized, in bytes of a message. */
    std::size_t linesSize_ = 0;
    LanguageOptions languages_;
};

} // namespace korvane
