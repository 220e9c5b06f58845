#include "recognition/WorkerDocuments.h"

#include "recognition/RequestCoding.h"
#include "recognition/WorkerDocument.h"

#include <utility>

namespace korvane {

void WorkerDocuments::open(const Data& pdf,
                           DocumentCompletion<std::shared_ptr<OpenDocument>> completion)
{
    auto sealed = sealBytes(pdf);
    if (!sealed) {
        return completion(
            failure(workerError({WorkerFailure::Kind::couldNotStart, sealed.error().code})));
    }
    WorkerDocument::open(workers_, *std::move(sealed), std::move(completion));
}

void WorkerDocuments::languages(DocumentCompletion<std::vector<std::string>> completion)
{
    languages_->get(workers_, std::move(completion));
}

} // namespace korvane
