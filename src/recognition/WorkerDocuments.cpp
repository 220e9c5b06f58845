#include "recognition/WorkerDocuments.h"

#include "recognition/OutputFile.h"
#include "recognition/WorkerCall.h"
#include "recognition/WorkerDocument.h"

#include <chrono>
#include <utility>

namespace korvane {

namespace {

using std::chrono::minutes;

/** For the most pixels that a document may have, 16 GiB, at 20 MiB a second: noise, which is the
 *  slowest to compress, on a slow computer. */
constexpr minutes rasterLimit(14);

/** For 4 GiB at 14 MiB a second, which slow disks write. */
constexpr minutes copyLimit(5);

/** Has a worker write a file, whose former content is replaced, and checks how long it is. */
template <typename Request>
void write(WorkerService& workers, const Request& request, std::chrono::milliseconds limit,
           DocumentCompletion<std::uint64_t> completion)
{
    const SharedDescriptor output = request.output;
    if (!truncateAndRewind(*output))
        return completion(failure(DocumentError{.kind = DocumentError::Kind::cannotWrite,
                                                .system = SystemError::last()}));
    call(workers, workers.makeJob(), request,
         {.limit = limit,
          .reservedTime = limit,
          .beforeRetry = [output] { return truncateAndRewind(*output); }},
         [output, completion = std::move(completion)](
             const DocumentAnswer<requests::WrittenDocument>& answer) {
             if (!answer) return completion(failure(answer.error()));
             if (!hasLength(*output, answer->length))
                 return completion(failure(workerError({WorkerFailure::Kind::invalidResponse})));
             completion(answer->length);
         });
}

} // namespace

void WorkerDocuments::open(const DocumentFile& pdf,
                           DocumentCompletion<std::shared_ptr<OpenDocument>> completion)
{
    WorkerDocument::open(workers_, pdf, std::move(completion));
}

void WorkerDocuments::convertRaster(const DocumentFile& raster, SharedDescriptor output,
                                    DocumentCompletion<std::uint64_t> completion)
{
    write(workers_, requests::ConvertRaster{.raster = raster, .output = std::move(output)},
          rasterLimit, std::move(completion));
}

void WorkerDocuments::convertPicture(const DocumentFile& picture, const PaperSize& paper,
                                     SharedDescriptor output,
                                     DocumentCompletion<std::uint64_t> completion)
{
    write(workers_,
          requests::ConvertPicture{.picture = picture, .paper = paper, .output = std::move(output)},
          copyLimit, std::move(completion));
}

void WorkerDocuments::decompress(const DocumentFile& compressed, std::uint64_t room,
                                 SharedDescriptor output,
                                 DocumentCompletion<std::uint64_t> completion)
{
    write(workers_,
          requests::Decompress{.compressed = compressed, .room = room, .output = std::move(output)},
          copyLimit, std::move(completion));
}

void WorkerDocuments::selectPages(const DocumentFile& pdf, std::vector<PageRange> pages,
                                  SharedDescriptor output,
                                  DocumentCompletion<std::uint64_t> completion)
{
    write(workers_,
          requests::SelectPages{.pdf = pdf, .pages = std::move(pages), .output = std::move(output)},
          copyLimit, std::move(completion));
}

void WorkerDocuments::languages(DocumentCompletion<std::vector<std::string>> completion)
{
    languages_->get(workers_, std::move(completion));
}

} // namespace korvane
