#pragma once

#include "base/Log.h"
#include "event/Queue.h"
#include "recognition/DocumentService.h"
#include "recognition/OCRPage.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * Finds the text of documents' pages: their text layer, or what is recognized on those that have
 * none. Remembers the languages of the latest documents and nothing else; used on any thread,
 * several documents at a time. State lives on a serial queue of its own.
 */
class OCR {
public:
    /** A page with so many characters of text (grapheme clusters, white space at both ends not
     *  counted) has a text layer. */
    static constexpr std::size_t textLayerMinimumCharacters = 24;

    /** Called on OCR's queue for each page that needs nothing more: it has its text, or will have
     *  none. Pages are done in any order. */
    using PageDone = std::function<void()>;

    /** Called once, on OCR's queue or, when that has ended, on any thread; must not block. */
    using Completion = std::function<void(std::vector<OCRPageResult>)>;

    /** `userLanguages` are tried before others, in this order; named as by Tesseract ("deu"). The
     *  queues, the service and the log outlive the documents. */
    OCR(Queues& queues, DocumentService& documents, std::vector<std::string> userLanguages,
        Log& log);

    /**
     * One result for each page, in order, with spans and the page's size at `dpi` pixels per inch
     * for those that were recognized. Errors are logged: a page that failed has no text, and a
     * document that cannot be read no results. What has not been recognized when the agent shuts
     * down, or the document is cancelled, has no text either, which is not logged.
     */
    void recognizePages(std::shared_ptr<OpenDocument> document, double dpi, PageDone pageDone,
                        Completion completion);

private:
    std::shared_ptr<struct RecognitionContext> context_;
};

} // namespace korvane
