#pragma once

#include "platform/documents/DocumentOperations.h"
#include "platform/poppler/PDFReader.h"
#include "platform/tesseract/TextRecognizer.h"
#include "worker/OperationTable.h"

#include <cstdint>
#include <optional>

namespace korvane {

/**
 * The operations on documents. Keeps the document and the picture that were worked on last, since
 * the next request is probably about them too.
 */
class DocumentWork {
public:
    /** Adds every operation of wire::DocumentOperation; this object outlives the table. */
    void addTo(OperationTable& operations);

private:
    using Status = wire::Status;

    bool listLanguages(WireReader& request, WireWriter& answer);
    bool prepare(WireReader& request, WireWriter& answer);
    bool open(WireReader& request, WireWriter& answer);
    bool readPages(WireReader& request, WireWriter& answer);
    bool layOut(WireReader& request, WireWriter& answer);
    bool turn(WireReader& request, WireWriter& answer);
    bool recognize(WireReader& request, WireWriter& answer);
    bool orientation(WireReader& request, WireWriter& answer);
    bool render(WireReader& request, WireWriter& answer);
    bool write(WireReader& request, WireWriter& answer);
    bool forget(WireReader& request, WireWriter& answer);

    void closeDocument();
    Status openDocument(WireReader& request);
    Status openPicture(WireReader& request);
    bool answerPicture(std::uint64_t id, const FileDescriptor& file, WireWriter& answer);

    std::uint64_t documentNumber_ = 0;
    std::optional<PDFReader> document_;
    /** What `document_` reads from. */
    Data source_;
    std::uint64_t pictureNumber_ = 0;
    TextRecognizer recognizer_;
};

} // namespace korvane
