#pragma once

#include "document/OCRPage.h"
#include "platform/documents/DocumentService.h"
#include "platform/log/Log.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/**
 * The text of a document's pages: that which is there already, and that which is recognised on the
 * pages that show words but have none. Keeps nothing between documents; any thread but a serial
 * queue's, several at a time.
 */
class OCR {
public:
    /** A page with so many characters of text (grapheme clusters, white space at both ends not
     *  counted) has a text layer. */
    static constexpr std::size_t textLayerMinimumCharacters = 24;

    /** `userLanguages` are tried before others, in their order; named as Tesseract does ("deu"). */
    OCR(DocumentService& documents, std::vector<std::string> userLanguages, Log& log);

    /**
     * One result for each page, in order, with spans for those that were rendered at `dpi` and
     * recognised. Never fails: what cannot be read has less in it, or no result.
     */
    std::vector<OCRPageResult> recognizePages(const std::shared_ptr<OpenDocument>& document,
                                              double dpi) const;

private:
    class Run;

    DocumentService& documents_;
    const std::vector<std::string> userLanguages_;
    Log& log_;
};

} // namespace korvane
