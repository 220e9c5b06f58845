#pragma once

#include "platform/base/SealedBytes.h"
#include "platform/documents/DocumentOperations.h"
#include "platform/documents/DocumentService.h"
#include "platform/worker/WorkerService.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * A document whose steps are requests to workers. Each is given 20 s, and less once others have
 * failed (see JobPatience); where the document brings down worker after worker, its further steps
 * fail as cancelled, all but the writing.
 */
class WorkerDocument final : public OpenDocument {
public:
    WorkerDocument(WorkerService& workers, const Data& pdf);
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
    std::chrono::milliseconds copyingTime() const;

    /** Sends a request; `read` takes from the answer what comes after its status. */
    template <typename T>
    std::future<DocumentAnswer<T>>
    ask(wire::DocumentOperation operation, Result<WireWriter, DocumentError> request,
        std::function<T(WireReader&)> read, std::shared_ptr<WorkTime> workTime = nullptr);

    std::future<DocumentAnswer<LaidOutPage>>
    askForPicture(wire::DocumentOperation operation, Result<WireWriter, DocumentError> request,
                  const std::shared_ptr<WorkTime>& workTime);

    WorkerService& workers_;
    const JobKey job_;
    /** All requests share it, however many wait. */
    const Result<SealedBytes, SystemError> pdf_;
    std::size_t pageCount_ = 0;
};

} // namespace korvane
