#include "document/JobPublication.h"

#include "base/Files.h"
#include "document/TextSummary.h"

#include <cerrno>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t summaryLength = 200;

} // namespace

JobPublication::JobPublication(const JobEnvironment& environment, std::shared_ptr<SpooledJob> job,
                               JobHandlers handlers, std::function<void()> ended)
    : environment_(environment), log_(environment.log), job_(std::move(job)),
      wasSetAside_(job_->isSetAside()), handlers_(std::move(handlers)), ended_(std::move(ended))
{
}

std::optional<Result<DocumentFile, SystemError>> JobPublication::open()
{
    if (!isDirectory(job_->ticket().saveDirectory)) {
        setAside(std::nullopt);
        return {};
    }
    if (wasSetAside_) {
        const auto restored = job_->restore();
        if (!restored && restored.error().code == ENOENT) return {};
        if (!restored) {
            setAside(restored.error());
            return {};
        }
    }
    return job_->open();
}

void JobPublication::publish(const Result<DocumentFile, std::string>& searchable,
                             const std::string& plainText)
{
    if (!searchable) return fallBack(searchable.error(), plainText);
    const auto published = job_->publish(*searchable);
    if (!published) return fallBack(published.error().description(), plainText);
    complete(*published, plainText);
}

void JobPublication::publishAsReceived(const std::string& plainText)
{
    if (job_->isSetAside()) return; // It was never opened, and is kept where it is.
    const auto published = job_->publishAsReceived();
    if (!published) return fallBack(published.error().description(), plainText);
    complete(*published, plainText);
}

void JobPublication::fallBack(const std::string& error, const std::string& plainText)
{
    log_.error("JobPipeline: write failed: " + error);
    const auto published = job_->publishAsReceived();
    if (published) return complete(*published, plainText);
    log_.error("JobPipeline: fallback write also failed: " + published.error().description());
    setAside(published.error());
}

void JobPublication::complete(const std::filesystem::path& file, const std::string& plainText)
{
    environment_.queues.main().async(
        [handlers = handlers_, job = CompletedJob{.pdfURL = file,
                                                  .plainText = plainText,
                                                  .summary = makeSummary(plainText, summaryLength),
                                                  .jobName = job_->ticket().jobName}] {
            handlers.completed(job);
        });
}

void JobPublication::setAside(std::optional<SystemError> writeError)
{
    UnsavedJob unsaved{.job = job_, .writeError = writeError, .wasSetAside = wasSetAside_};
    if (!job_->isSetAside()) {
        auto document = job_->setAside();
        if (document) {
            unsaved.document = *std::move(document);
        } else {
            log_.error("JobPipeline: can't set the document aside: " +
                       document.error().description());
        }
    }
    environment_.queues.main().async(
        [handlers = handlers_, unsaved = std::move(unsaved)] { handlers.unsaved(unsaved); });
}

} // namespace korvane
