#pragma once

#include "platform/documents/DocumentService.h"
#include "platform/worker/WorkerService.h"

#include <future>
#include <mutex>

namespace korvane {

/** Has worker processes do the work on documents. */
class WorkerDocuments final : public DocumentService {
public:
    /** `workers` outlives all documents. Workers are made ready for the `language` that most
     *  documents will be in; empty for none. */
    WorkerDocuments(WorkerService& workers, std::string language);

    DocumentAnswer<std::shared_ptr<OpenDocument>> open(const Data& pdf) override;
    std::vector<std::string> languages() override;
    std::size_t parallelism() const override { return workers_.parallelism(); }

private:
    using Languages = std::shared_future<std::vector<std::string>>;

    /** The languages, asked for unless that has been done. */
    Languages askForLanguages();
    void prepareWorkers(std::size_t count);

    WorkerService& workers_;
    const std::string language_;
    std::mutex mutex_;
    Languages languages_;
};

} // namespace korvane
