#include "platform/documents/WorkerDocuments.h"

#include "platform/documents/WorkerDocument.h"

#include <chrono>
#include <utility>

namespace korvane {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds preparationLimit = 20s;

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
    prepareWorkers(workers_.parallelism() - 1);
    const auto count = counted.get();
    if (!count) return failure(count.error());
    document->setPageCount(*count);
    return document;
}

std::vector<std::string> WorkerDocuments::languages()
{
    const std::scoped_lock lock(mutex_);
    if (languages_) return *languages_;
    WireWriter request;
    auto answer =
        workers_
            .submit(workers_.makeJob(),
                    request.message(static_cast<std::uint16_t>(wire::DocumentOperation::languages)),
                    preparationLimit)
            .get();
    if (!answer) return {};
    WireReader reader(std::move(*answer));
    wire::readStatus(reader);
    std::vector<std::string> names(reader.count());
    for (std::string& name : names) name = reader.string();
    if (!reader.finished()) return {};
    languages_ = std::move(names);
    return *languages_;
}

void WorkerDocuments::prepareWorkers(std::size_t count)
{
    if (language_.empty()) return;
    for (std::size_t worker = 0; worker < count; ++worker) {
        WireWriter request;
        request.string(language_);
        workers_.submit(workers_.makeJob(),
                        request.message(static_cast<std::uint16_t>(wire::DocumentOperation::prepare)),
                        preparationLimit, [](const WorkerAnswer&) {});
    }
}

} // namespace korvane
