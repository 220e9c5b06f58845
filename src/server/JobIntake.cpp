#include "server/JobIntake.h"

#include <utility>
#include <variant>

namespace korvane {

namespace {

IntakeError storageError(const SystemError& error)
{
    return {.description = error.description(), .storage = error};
}

} // namespace

JobIntake::JobIntake(IntakeEnvironment environment, PrinterCallbacks printer)
    : environment_(std::move(environment)), printer_(std::move(printer))
{
}

void JobIntake::take(const std::string& jobName, const Result<DocumentFile, SystemError>& document,
                     const Completion& completion) const
{
    if (document && !document->file) {
        return take(jobName, environment_.spool.makeFile().map([](FileDescriptor&& empty) {
            return DocumentFile{share(std::move(empty)), 0};
        }),
                    completion);
    }
    if (!document) return report(failure(storageError(document.error())), completion);
    DocumentNormalizer::normalize(
        *document, environment_.documents, environment_.spool,
        [self = shared_from_this(), jobName, document = *document,
         completion](const Normalized& pdf) {
            self->environment_.background.async([self, jobName, document, pdf, completion] {
                self->report(self->accept(jobName, document, pdf), completion);
            });
        });
}

JobIntake::Taken JobIntake::accept(const std::string& jobName, const DocumentFile& document,
                                   const Normalized& pdf) const
{
    if (!pdf) return failure(refuse(jobName, document, pdf.error()));
    return environment_.spool.accept(printer_.ticket(jobName), *pdf).map_error(storageError);
}

IntakeError JobIntake::refuse(const std::string& jobName, const DocumentFile& document,
                              const DocumentNormalizer::NormalizeError& error) const
{
    IntakeError refusal{.description = error.description(), .isRefusal = error.isRefusal()};
    using StorageFailed = DocumentNormalizer::NormalizeError::StorageFailed;
    if (const auto* storage = std::get_if<StorageFailed>(&error.value))
        refusal.storage = storage->error;
    if (!refusal.isRefusal || document.length == 0) return refusal;
    const std::filesystem::path savedName = printer_.ticket(jobName).fileName;
    const auto kept = environment_.spool.keepRefused(savedName.stem(), document);
    if (kept) {
        refusal.keptAt = *kept;
    } else {
        environment_.log.error("IPPServer: can't keep the rejected document: " +
                               kept.error().description());
    }
    return refusal;
}

/** Whatever has become of the client, the printer is told: the job is in the spool. */
void JobIntake::report(const Taken& taken, const Completion& completion) const
{
    environment_.queue->async([self = shared_from_this(), taken, completion] {
        if (taken) {
            self->printer_.jobAccepted(*taken);
        } else if (taken.error().keptAt) {
            self->printer_.documentRefused(*taken.error().keptAt);
        }
        completion(taken);
    });
}

} // namespace korvane
