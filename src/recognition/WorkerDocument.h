#pragma once

#include "base/DocumentFile.h"
#include "recognition/DocumentRequests.h"
#include "recognition/DocumentService.h"
#include "workerpool/WorkerService.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace korvane {

/**
 * A document whose steps are requests to workers. Each has 20 s, a page to recognize 40 s, and less
 * once others have failed (see JobBudget); when that is used up, further steps fail, all but
 * `write`.
 */
class WorkerDocument final : public OpenDocument {
public:
    /** Has a worker open the document; `workers` outlives it. */
    static void open(WorkerService& workers, DocumentFile pdf,
                     DocumentCompletion<std::shared_ptr<OpenDocument>> completion);

    WorkerDocument(WorkerService& workers, DocumentFile pdf);
    WorkerDocument(const WorkerDocument&) = delete;
    WorkerDocument& operator=(const WorkerDocument&) = delete;
    ~WorkerDocument() override;

    std::size_t pageCount() const override { return pageCount_; }
    void readPages(std::size_t first, std::size_t count,
                   DocumentCompletion<std::vector<PageInfo>> completion) override;
    void recognizePage(std::size_t page, double resolution, std::string language,
                       DocumentCompletion<PageReading> completion) override;
    void write(std::vector<PageTextLayer> layers, DocumentInformation information,
               SharedDescriptor output,
               std::function<void(Result<void, PDFWriteError>)> completion) override;
    void cancel() override;

private:
    template <typename Request>
    void ask(const Request& request, WorkerRequest terms,
             DocumentCompletion<typename Request::Answer> completion);
    void endRequests();

    requests::SourceDocument source() const { return {.number = job_.number, .content = pdf_}; }

    WorkerService& workers_;
    const JobKey job_;
    /** All requests share it. */
    const DocumentFile pdf_;
    std::size_t pageCount_ = 0;
    std::atomic<bool> isCancelled_ = false;
};

} // namespace korvane
