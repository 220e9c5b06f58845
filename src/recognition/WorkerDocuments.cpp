#include "recognition/WorkerDocuments.h"

#include "recognition/OutputFile.h"
#include "recognition/WorkerCall.h"
#include "recognition/WorkerDocument.h"

#include <chrono>
#include <utility>

namespace korvane {

namespace {

/** For the most pixels that a document may have, 16 GiB, at 20 MiB a second: noise, which is the
 *  slowest to compress, on a slow computer. */
constexpr std::chrono::milliseconds conversionLimit = std::chrono::minutes(14);

} // namespace

void WorkerDocuments::open(const DocumentFile& pdf,
                           DocumentCompletion<std::shared_ptr<OpenDocument>> completion)
{
    WorkerDocument::open(workers_, pdf, std::move(completion));
}

void WorkerDocuments::convertRaster(const DocumentFile& raster, SharedDescriptor output,
                                    DocumentCompletion<std::uint64_t> completion)
{
    if (!truncateAndRewind(*output))
        return completion(failure(DocumentError{.kind = DocumentError::Kind::cannotWrite,
                                                .system = SystemError::last()}));
    call(workers_, workers_.makeJob(), requests::ConvertRaster{.raster = raster, .output = output},
         {.limit = conversionLimit,
          .reservedTime = conversionLimit,
          .beforeRetry = [output] { return truncateAndRewind(*output); }},
         [output, completion = std::move(completion)](
             const DocumentAnswer<requests::ConvertRaster::Answer>& answer) {
             if (!answer) return completion(failure(answer.error()));
             if (!hasLength(*output, answer->length))
                 return completion(failure(workerError({WorkerFailure::Kind::invalidResponse})));
             completion(answer->length);
         });
}

void WorkerDocuments::languages(DocumentCompletion<std::vector<std::string>> completion)
{
    languages_->get(workers_, std::move(completion));
}

} // namespace korvane
