#include "document/JobPublication.h"

#include "base/Files.h"
#include "document/TextSummary.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t summaryLength = 200;

constexpr const char* goneMessage = "The document has been removed";

/** That the document is safe, lest it be sent again. */
std::string keptMessage(const std::optional<SystemError>& writeError)
{
    if (!writeError)
        return "The save folder is missing: the document is kept and will be saved when the "
               "folder is back";
    return fmt::format("The document could not be saved yet ({}): it is kept, and saving it will "
                       "be tried again",
                       writeError->description());
}

} // namespace

JobPublication::JobPublication(const JobEnvironment& environment, std::shared_ptr<SpooledJob> job,
                               std::shared_ptr<PrintJob> printJob, JobHandlers handlers,
                               std::function<void()> ended)
    : environment_(environment), log_(environment.log), job_(std::move(job)),
      printJob_(std::move(printJob)), wasSetAside_(job_->isSetAside()),
      handlers_(std::move(handlers)), ended_(std::move(ended))
{
}

std::optional<Result<DocumentFile, SystemError>> JobPublication::open()
{
    if (!isDirectory(job_->ticket().saveDirectory)) {
        if (printJob_->publish()) setAside(std::nullopt);
        return {};
    }
    const std::scoped_lock lock(mutex_);
    if (printJob_->isCanceled()) return {};
    if (wasSetAside_) {
        const auto restored = job_->restore();
        if (!restored && restored.error().code == ENOENT) {
            printJob_->abort("aborted-by-system", goneMessage);
            return {};
        }
        if (!restored) {
            if (printJob_->publish()) setAside(restored.error());
            return {};
        }
    }
    return job_->open();
}

void JobPublication::discard(const std::shared_ptr<JobPublication>& publication)
{
    publication->environment_.queues.background().async(
        [publication] { publication->removeFromSpool(); });
}

void JobPublication::removeFromSpool()
{
    const std::scoped_lock lock(mutex_);
    const auto removed = job_->discard();
    log_.note(fmt::format("JobPipeline: job \"{}\" canceled", ticket().jobName));
    if (!removed)
        log_.error("JobPipeline: can't remove a canceled job: " + removed.error().description());
}

void JobPublication::publish(const Result<DocumentFile, std::string>& searchable,
                             const DocumentText& text)
{
    if (!printJob_->publish()) return;
    if (!searchable) return fallBack(searchable.error(), text);
    const auto published = job_->publish(*searchable);
    if (!published) return fallBack(published.error().description(), text);
    complete(*published, text);
}

void JobPublication::publishAsReceived(const DocumentText& text)
{
    if (!printJob_->publish()) return;
    // It was never opened, and is kept where it is.
    if (job_->isSetAside()) return printJob_->complete(keptMessage(std::nullopt));
    const auto published = job_->publishAsReceived();
    if (!published) return fallBack(published.error().description(), text);
    complete(*published, text);
}

void JobPublication::fallBack(const std::string& error, const DocumentText& text)
{
    log_.error("JobPipeline: write failed: " + error);
    const auto published = job_->publishAsReceived();
    if (published) return complete(*published, text);
    log_.error("JobPipeline: fallback write also failed: " + published.error().description());
    setAside(published.error());
}

void JobPublication::complete(const std::filesystem::path& file, const DocumentText& text)
{
    printJob_->complete();
    environment_.queues.main().async(
        [handlers = handlers_,
         job = CompletedJob{.pdfURL = file,
                            .plainText = text.plainText,
                            .summary = makeSummary(text.plainText, summaryLength),
                            .jobName = job_->ticket().jobName,
                            .pages = text.pages,
                            .words = text.words,
                            .language = text.language}] { handlers.completed(job); });
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
            if (document.error().code == ENOENT) printJob_->abort("aborted-by-system", goneMessage);
        }
    }
    printJob_->complete(keptMessage(writeError));
    environment_.queues.main().async(
        [handlers = handlers_, unsaved = std::move(unsaved)] { handlers.unsaved(unsaved); });
}

} // namespace korvane
