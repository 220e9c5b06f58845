#pragma once

#include "recognition/DocumentService.h"
#include "recognition/InstalledLanguages.h"
#include "workerpool/WorkerService.h"

#include <memory>

namespace korvane {

/** Opens documents in worker processes. */
class WorkerDocuments final : public DocumentService {
public:
    /** `workers` outlives all documents. */
    explicit WorkerDocuments(WorkerService& workers) : workers_(workers) {}

    void open(const DocumentFile& pdf,
              DocumentCompletion<std::shared_ptr<OpenDocument>> completion) override;
    void convertRaster(const DocumentFile& raster, SharedDescriptor output,
                       DocumentCompletion<std::uint64_t> completion) override;
    void convertPicture(const DocumentFile& picture, const PaperSize& paper,
                        SharedDescriptor output,
                        DocumentCompletion<std::uint64_t> completion) override;
    void decompress(const DocumentFile& compressed, std::uint64_t room, SharedDescriptor output,
                    DocumentCompletion<std::uint64_t> completion) override;
    void selectPages(const DocumentFile& pdf, std::vector<PageRange> pages, SharedDescriptor output,
                     DocumentCompletion<std::uint64_t> completion) override;
    void languages(DocumentCompletion<std::vector<std::string>> completion) override;
    std::size_t parallelism() const override { return workers_.parallelism(); }

private:
    WorkerService& workers_;
    const std::shared_ptr<InstalledLanguages> languages_ = std::make_shared<InstalledLanguages>();
};

} // namespace korvane
