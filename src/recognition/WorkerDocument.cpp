#include "recognition/WorkerDocument.h"

#include "recognition/OutputFile.h"
#include "recognition/WorkerCall.h"

#include <chrono>
#include <utility>

namespace korvane {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds stepLimit = 20s;
/** The worker answers before that with what it has, unless a page keeps it from doing so. */
constexpr std::chrono::milliseconds recognitionLimit = 40s;
/** For writing even a document that hung, so that what was recognized is not lost. */
constexpr std::chrono::milliseconds writeReservedTime = 5s;
/** A large document takes longer to copy: a second more for so many bytes. */
constexpr std::size_t bytesCopiedPerSecond = std::size_t{20} << 20;

Result<void, PDFWriteError>
writeResult(const DocumentAnswer<requests::WriteDocument::Answer>& answer)
{
    using Kind = PDFWriteError::Kind;
    if (!answer)
        return failure(PDFWriteError{.kind = answer.error().kind == DocumentError::Kind::worker
                                                 ? Kind::workerFailed
                                                 : Kind::cannotOpenSource,
                                     .detail = answer.error().description()});
    if (answer->error) return failure(*answer->error);
    return {};
}

} // namespace

void WorkerDocument::open(WorkerService& workers, DocumentFile pdf,
                          DocumentCompletion<std::shared_ptr<OpenDocument>> completion)
{
    auto document = std::make_shared<WorkerDocument>(workers, std::move(pdf));
    const JobKey job = document->job_;
    const requests::OpenDocument request{.document = document->source()};
    call(workers, job, request, {.limit = stepLimit},
         [document = std::move(document), completion = std::move(completion)](
             DocumentAnswer<requests::OpenDocument::Answer> answer) mutable {
             if (!answer) return completion(failure(std::move(answer).error()));
             document->pageCount_ = answer->pageCount;
             completion(std::move(document));
         });
}

WorkerDocument::WorkerDocument(WorkerService& workers, DocumentFile pdf)
    : workers_(workers), job_(workers.makeJob()), pdf_(std::move(pdf))
{
}

WorkerDocument::~WorkerDocument()
{
    endRequests();
}

void WorkerDocument::cancel()
{
    isCancelled_ = true;
    endRequests();
}

void WorkerDocument::endRequests()
{
    workers_.end(job_, requests::codeOf<requests::ReleaseDocument>());
}

template <typename Request>
void WorkerDocument::ask(const Request& request, WorkerRequest terms,
                         DocumentCompletion<typename Request::Answer> completion)
{
    if (isCancelled_) return completion(failure(workerError({WorkerFailure::Kind::cancelled})));
    call(workers_, job_, request, std::move(terms), std::move(completion));
    // Another thread's `cancel` may have come too early for this one.
    if (isCancelled_) endRequests();
}

void WorkerDocument::readPages(std::size_t first, std::size_t count,
                               DocumentCompletion<std::vector<PageInfo>> completion)
{
    ask(requests::ReadPages{.document = source(), .first = first, .count = count},
        {.limit = stepLimit},
        [count,
         completion = std::move(completion)](DocumentAnswer<requests::ReadPages::Answer> answer) {
            if (!answer) return completion(failure(std::move(answer).error()));
            if (answer->pages.size() != count)
                return completion(failure(workerError({WorkerFailure::Kind::invalidResponse})));
            completion(std::move(answer->pages));
        });
}

void WorkerDocument::recognizePage(std::size_t page, double resolution, std::string language,
                                   DocumentCompletion<PageReading> completion)
{
    ask(requests::RecognizePage{.document = source(),
                                .page = page,
                                .resolution = resolution,
                                .language = std::move(language)},
        {.limit = recognitionLimit, .page = page}, std::move(completion));
}

void WorkerDocument::write(std::vector<PageTextLayer> layers, DocumentInformation information,
                           SharedDescriptor output,
                           std::function<void(Result<void, PDFWriteError>)> completion)
{
    if (!truncateAndRewind(*output))
        return completion(failure(PDFWriteError{.kind = PDFWriteError::Kind::cannotWrite,
                                                .detail = SystemError::last().description()}));
    const std::chrono::seconds copyingTime(pdf_.length / bytesCopiedPerSecond);
    ask(requests::WriteDocument{.document = source(),
                                .layers = std::move(layers),
                                .information = std::move(information),
                                .output = output},
        {.limit = stepLimit + copyingTime,
         .reservedTime = writeReservedTime + copyingTime,
         .beforeRetry = [output] { return truncateAndRewind(*output); }},
        [completion =
             std::move(completion)](const DocumentAnswer<requests::WriteDocument::Answer>& answer) {
            completion(writeResult(answer));
        });
}

} // namespace korvane
