#include "platform/documents/WorkerDocuments.h"

#include "platform/documents/WorkerDocument.h"

#include <chrono>
#include <memory>
#include <utility>

namespace korvane {

namespace {

using namespace std::chrono_literals;
using wire::DocumentOperation;

constexpr std::chrono::milliseconds preparationLimit = 20s;

WorkerMessage languageRequest(DocumentOperation operation, const std::string& language)
{
    WireWriter request;
    request.string(language);
    return request.message(static_cast<std::uint16_t>(operation));
}

std::vector<std::string> readLanguages(WorkerAnswer answer)
{
    if (!answer) return {};
    WireReader reader(std::move(*answer));
    wire::readStatus(reader);
    // Tesseract has data for a hundred; each has a length of eight bytes on the wire at least.
    const std::size_t count = reader.count(sizeof(std::uint64_t));
    if (count > 1000) return {};
    std::vector<std::string> names(count);
    for (std::string& name : names) name = reader.string();
    return reader.finished() ? names : std::vector<std::string>();
}

} // namespace

WorkerDocuments::WorkerDocuments(WorkerService& workers, std::string language)
    : workers_(workers), language_(std::move(language))
{
}

DocumentAnswer<std::shared_ptr<OpenDocument>> WorkerDocuments::open(const Data& pdf)
{
    auto document = std::make_shared<WorkerDocument>(workers_, pdf);
    auto counted = document->countPages();
    // One worker opens the document; the others use the time to get ready.
    askForLanguages();
    prepareWorkers(workers_.parallelism() - 1);
    const auto count = counted.get();
    if (!count) return failure(count.error());
    document->setPageCount(*count);
    return document;
}

std::vector<std::string> WorkerDocuments::languages()
{
    return askForLanguages().get();
}

WorkerDocuments::Languages WorkerDocuments::askForLanguages()
{
    const std::scoped_lock lock(mutex_);
    // An answer without any is asked for again: a worker may have broken down.
    const bool isAsked =
        languages_.valid() &&
        (languages_.wait_for(0s) != std::future_status::ready || !languages_.get().empty());
    if (isAsked) return languages_;
    auto promise = std::make_shared<std::promise<std::vector<std::string>>>();
    languages_ = promise->get_future().share();
    workers_.submit(workers_.makeJob(), languageRequest(DocumentOperation::languages, language_),
                    preparationLimit, [promise](WorkerAnswer answer) {
                        promise->set_value(readLanguages(std::move(answer)));
                    });
    return languages_;
}

void WorkerDocuments::prepareWorkers(std::size_t count)
{
    for (std::size_t worker = 0; worker < count; ++worker)
        workers_.submit(workers_.makeJob(), languageRequest(DocumentOperation::prepare, language_),
                        preparationLimit, [](const WorkerAnswer&) {});
}

} // namespace korvane
