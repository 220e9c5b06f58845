#pragma once

#include "platform/documents/DocumentOperations.h"
#include "platform/documents/DocumentService.h"
#include "platform/worker/WorkerService.h"

#include <atomic>
#include <chrono>

namespace korvane {

/**
 * A document whose steps are requests to workers. A worker that hangs is given 20 s the first time
 * and 2 s from then on; where the document brings down worker after worker, its further steps fail
 * as cancelled.
 */
class WorkerDocument final : public OpenDocument,
                             public std::enable_shared_from_this<WorkerDocument> {
public:
    WorkerDocument(WorkerService& workers, Data pdf);
    WorkerDocument(const WorkerDocument&) = delete;
    WorkerDocument& operator=(const WorkerDocument&) = delete;
    ~WorkerDocument() override;

    /** Finds out how many pages there are; to be awaited, and then given to `setPageCount`. */
    std::future<DocumentAnswer<std::size_t>> countPages();
    void setPageCount(std::size_t count) { pageCount_ = count; }

    std::size_t pageCount() const override { return pageCount_; }
    std::future<DocumentAnswer<std::vector<PageInfo>>> readPages(std::size_t first,
                                                                 std::size_t count) override;
    std::future<DocumentAnswer<LaidOutPage>> layOut(std::size_t page, double resolution) override;
    std::future<DocumentAnswer<LaidOutPage>> turn(const PagePicture& picture,
                                                  int quarterTurns) override;
    std::future<DocumentAnswer<std::vector<RecognizedLine>>>
    recognize(const PagePicture& picture, std::vector<PixelBox> lines,
              std::string language) override;
    std::future<DocumentAnswer<PageOrientation>> orientation(const PagePicture& picture) override;
    DocumentAnswer<Data> render(std::size_t page, double resolution) override;
    Result<void, PDFWriteError> write(const std::vector<PageTextLayer>& layers,
                                      const DocumentInformation& information, int output) override;

private:
    Result<WireWriter, DocumentError> documentRequest() const;
    static Result<WireWriter, DocumentError> pictureRequest(const PagePicture& picture);

    /** Sends a request; `read` takes from the answer what comes after its status. */
    template <typename T>
    std::future<DocumentAnswer<T>> ask(wire::DocumentOperation operation,
                                       Result<WireWriter, DocumentError> request,
                                       std::function<T(WireReader&)> read);

    std::future<DocumentAnswer<LaidOutPage>>
    askForPicture(wire::DocumentOperation operation, Result<WireWriter, DocumentError> request);

    std::chrono::milliseconds patience() const;
    bool isGivenUp() const;
    void note(const WorkerFailure& failure);

    WorkerService& workers_;
    const JobKey job_;
    const Data pdf_;
    std::size_t pageCount_ = 0;
    std::atomic<int> timeouts_ = 0;
    std::atomic<int> breakdowns_ = 0;
};

} // namespace korvane
