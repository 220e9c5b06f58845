#pragma once

#include "lib/poppler/PDFReader.h"
#include "lib/tesseract/PageRecognizer.h"
#include "recognition/DocumentRequests.h"
#include "recognition/DocumentService.h"
#include "worker/RequestTable.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace korvane {

/**
 * Serves the requests on documents. Keeps the document and the bitmap of the latest requests: the
 * next one is probably about them too.
 */
class DocumentWork {
public:
    /** Has the table serve the requests on PDF documents; this object outlives it. */
    void serve(RequestTable& table);

private:
    using Status = DocumentAnswer<void>;

    /** The page whose bitmap the recognizer has. */
    struct LoadedPage {
        std::uint64_t document = 0;
        std::uint64_t page = 0;
        double resolution = 0;

        friend bool operator==(const LoadedPage&, const LoadedPage&) = default;
    };

    DocumentAnswer<requests::ListLanguages::Answer>
    listLanguages(const requests::ListLanguages& request);
    DocumentAnswer<requests::OpenDocument::Answer> open(const requests::OpenDocument& request);
    DocumentAnswer<requests::ReadPages::Answer> readPages(const requests::ReadPages& request);
    DocumentAnswer<PageReading> recognizePage(const requests::RecognizePage& request,
                                              std::chrono::milliseconds limit);
    DocumentAnswer<requests::WriteDocument::Answer> write(const requests::WriteDocument& request);
    DocumentAnswer<requests::Nothing> release(const requests::ReleaseDocument& request);

    bool hasOpen(const requests::SourceDocument& document) const;
    Status openDocument(const requests::SourceDocument& document);
    void closeDocument();
    Status loadPage(const requests::RecognizePage& request);

    std::uint64_t documentNumber_ = 0;
    std::optional<PDFReader> document_;
    /** What `document_` reads from. */
    Data source_;
    std::optional<LoadedPage> loadedPage_;
    PageRecognizer recognizer_;
};

} // namespace korvane
