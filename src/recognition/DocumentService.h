#pragma once

#include "base/DocumentFile.h"
#include "base/FileDescriptor.h"
#include "base/Result.h"
#include "ipp/PaperSize.h"
#include "page/DocumentInformation.h"
#include "page/PDFWriteError.h"
#include "page/PageInfo.h"
#include "page/PageRange.h"
#include "page/PageTextLayer.h"
#include "page/Recognition.h"
#include "recognition/DocumentError.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

template <typename T>
using DocumentAnswer = Result<T, DocumentError>;

/** Called once, on a queue of the service's own or, when it has ended or the document is cancelled,
 *  on the calling thread; must not block. */
template <typename T>
using DocumentCompletion = std::function<void(DocumentAnswer<T>)>;

/**
 * A PDF document that workers have open. Pages are counted from 0. Nothing here blocks. Used on any
 * thread, several requests at a time. Destroying it cancels the requests that are pending.
 */
class OpenDocument {
public:
    virtual ~OpenDocument() = default;

    virtual std::size_t pageCount() const = 0;

    /** `count` pages from `first` on. */
    virtual void readPages(std::size_t first, std::size_t count,
                           DocumentCompletion<std::vector<PageInfo>> completion) = 0;

    /**
     * Renders a page as a viewer shows it, its whole media box over white, at `resolution` pixels
     * per inch or, where that would be more than 100 million pixels, at what fits; and recognizes
     * its text in a language that is one of `DocumentService::languages`. `noPage` when it has less
     * than one pixel.
     */
    virtual void recognizePage(std::size_t page, double resolution, std::string language,
                               DocumentCompletion<PageReading> completion) = 0;

    /** Writes the document, with text laid over its pages, to an open file, whose former content is
     *  replaced. */
    virtual void write(std::vector<PageTextLayer> layers, DocumentInformation information,
                       SharedDescriptor output,
                       std::function<void(Result<void, PDFWriteError>)> completion) = 0;

    /** The document is no longer wanted: requests that are pending, and any made later, fail as
     *  cancelled, also those that a worker is carrying out. */
    virtual void cancel() = 0;
};

/** Opens documents. */
class DocumentService {
public:
    virtual ~DocumentService() = default;

    virtual void open(const DocumentFile& pdf,
                      DocumentCompletion<std::shared_ptr<OpenDocument>> completion) = 0;

    /** Writes the PDF of a raster document to `output`, whose former content is replaced, and says
     *  how long it is. */
    virtual void convertRaster(const DocumentFile& raster, SharedDescriptor output,
                               DocumentCompletion<std::uint64_t> completion) = 0;

    /** The same for a JPEG file, which becomes one page, no larger than the paper. */
    virtual void convertPicture(const DocumentFile& picture, const PaperSize& paper,
                                SharedDescriptor output,
                                DocumentCompletion<std::uint64_t> completion) = 0;

    /** Writes to `output`, whose former content is replaced, what gzip or deflate made a document
     *  of, and says how long it is. Fails with ENOSPC when it is longer than `room`. */
    virtual void decompress(const DocumentFile& compressed, std::uint64_t room,
                            SharedDescriptor output,
                            DocumentCompletion<std::uint64_t> completion) = 0;

    /** Writes to `output`, whose former content is replaced, those pages of a PDF that lie in one
     * of at most 64 ranges, and says how long it is. */
    virtual void selectPages(const DocumentFile& pdf, std::vector<PageRange> pages,
                             SharedDescriptor output,
                             DocumentCompletion<std::uint64_t> completion) = 0;

    /** The languages whose data is installed, as Tesseract names them ("deu"), in ascending order;
     *  empty without any. */
    virtual void languages(DocumentCompletion<std::vector<std::string>> completion) = 0;

    /** How many requests can be worked on at the same time. */
    virtual std::size_t parallelism() const = 0;
};

} // namespace korvane
