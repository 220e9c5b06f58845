#pragma once

#include "platform/base/Data.h"
#include "platform/base/FileDescriptor.h"
#include "platform/base/Result.h"
#include "platform/documents/DocumentError.h"
#include "platform/documents/PageInfo.h"
#include "platform/documents/Recognition.h"
#include "platform/pdf/DocumentInformation.h"
#include "platform/pdf/PDFWriteError.h"
#include "platform/pdf/PageTextLayer.h"
#include "platform/worker/WorkTime.h"

#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/** A page rendered in shades of grey, one byte a pixel, row by row from the top. The pixels lie in
 *  a memory file that recognition fills and reads; copies share it. */
struct PagePicture {
    /** No other picture has it. */
    std::uint64_t id = 0;
    int width = 0;
    int height = 0;
    /** Pixels an inch. */
    double resolution = 0;
    SharedDescriptor pixels;
    /** What workers have spent on the page: on laying it out, turning and reading it. */
    std::shared_ptr<WorkTime> workTime;
};

/** A picture, and where its lines of text are, in reading order. */
struct LaidOutPage {
    PagePicture picture;
    std::vector<PixelBox> lines;
};

template <typename T>
using DocumentAnswer = Result<T, DocumentError>;

/**
 * A PDF document being worked on somewhere else, where it can do no harm. Pages are counted from 0.
 * Each answer comes when its turn has come; those who wait for it do so on no serial queue. A
 * step may take the time limit and no longer, and steps that come to nothing may take half a minute
 * in all: those after them fail as cancelled. Used on any thread, several at a time.
 */
class OpenDocument {
public:
    virtual ~OpenDocument() = default;

    virtual std::size_t pageCount() const = 0;

    /** The pages from `first` on, as many as `count` and as there are. */
    virtual std::future<DocumentAnswer<std::vector<PageInfo>>> readPages(std::size_t first,
                                                                         std::size_t count) = 0;

    /**
     * Renders a page as a viewer shows it, its whole media box over white, at `resolution` pixels
     * an inch or, where that would be more than 100 million pixels, at what fits; and finds its
     * lines of text. `noPage` when it has less than one pixel.
     */
    virtual std::future<DocumentAnswer<LaidOutPage>> layOut(std::size_t page,
                                                            double resolution) = 0;

    /** The picture turned clockwise by quarters, and its lines then. */
    virtual std::future<DocumentAnswer<LaidOutPage>> turn(const PagePicture& picture,
                                                          int quarterTurns) = 0;

    /** What the lines read in a language, of which the recogniser has the data. */
    virtual std::future<DocumentAnswer<std::vector<RecognizedLine>>>
    recognize(const PagePicture& picture, std::vector<PixelBox> lines, std::string language) = 0;

    virtual std::future<DocumentAnswer<PageOrientation>>
    orientation(const PagePicture& picture) = 0;

    /** The page's pixels, in colour: red, green, blue and an unused byte each. Waits for them. */
    virtual DocumentAnswer<Data> render(std::size_t page, double resolution) = 0;

    /** Writes the document, with text laid over its pages, to an open file. Waits for it. */
    virtual Result<void, PDFWriteError> write(const std::vector<PageTextLayer>& layers,
                                              const DocumentInformation& information,
                                              int output) = 0;
};

/** Opens documents. */
class DocumentService {
public:
    virtual ~DocumentService() = default;

    /** Opens a document, waiting for it; any thread but a serial queue's. */
    virtual DocumentAnswer<std::shared_ptr<OpenDocument>> open(const Data& pdf) = 0;

    /** The languages whose data the recogniser has, as Tesseract names them ("deu"); waits when
     *  asked for the first time. */
    virtual std::vector<std::string> languages() = 0;

    /** How many steps can be worked on at the same time. */
    virtual std::size_t parallelism() const = 0;
};

} // namespace korvane
