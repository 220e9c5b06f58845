#include "server/JobIntake.h"

#include <utility>
#include <variant>

namespace korvane {

namespace {

IntakeError storageError(const SystemError& error)
{
    return {.description = error.description(), .storage = error};
}

IntakeError::Kind kindOf(const DocumentNormalizer::NormalizeError& error)
{
    using Error = DocumentNormalizer::NormalizeError;
    if (!error.isRefusal()) return IntakeError::Kind::notKept;
    if (std::holds_alternative<Error::UnrecognizedFormat>(error.value))
        return IntakeError::Kind::unknownFormat;
    return std::holds_alternative<Error::DecompressionFailed>(error.value)
               ? IntakeError::Kind::compression
               : IntakeError::Kind::damaged;
}

} // namespace

std::string_view IntakeError::reason() const
{
    switch (kind) {
    case Kind::unknownFormat: return "unsupported-document-format";
    case Kind::damaged: return "document-format-error";
    case Kind::compression: return "compression-error";
    case Kind::notKept:
    case Kind::canceled: break;
    }
    return "aborted-by-system";
}

JobIntake::JobIntake(IntakeEnvironment environment, PrinterCallbacks printer)
    : environment_(std::move(environment)), printer_(std::move(printer))
{
}

void JobIntake::take(const ArrivedJob& arrived, const Result<DocumentFile, SystemError>& document,
                     const Completion& completion) const
{
    if (document && !document->file) {
        return take(arrived, environment_.spool.makeFile().map([](FileDescriptor&& empty) {
            return DocumentFile{share(std::move(empty)), 0};
        }),
                    completion);
    }
    if (!document) return report(arrived, failure(storageError(document.error())), completion);
    DocumentNormalizer::normalize(
        *document, arrived.traits, environment_.documents, environment_.spool,
        [self = shared_from_this(), arrived, document = *document,
         completion](const Normalized& pdf) {
            self->environment_.background.async([self, arrived, document, pdf, completion] {
                self->report(arrived, self->accept(arrived, document, pdf), completion);
            });
        });
}

JobIntake::Taken JobIntake::accept(const ArrivedJob& arrived, const DocumentFile& document,
                                   const Normalized& pdf) const
{
    if (arrived.job->isCanceled()) {
        return failure(IntakeError{.kind = IntakeError::Kind::canceled,
                                   .description = "canceled while its document arrived"});
    }
    if (!pdf) return failure(refuse(arrived, document, pdf.error()));
    return environment_.spool.accept(printer_.ticket(arrived.name()), *pdf).map_error(storageError);
}

IntakeError JobIntake::refuse(const ArrivedJob& arrived, const DocumentFile& document,
                              const DocumentNormalizer::NormalizeError& error) const
{
    IntakeError refusal{.kind = kindOf(error), .description = error.description()};
    using StorageFailed = DocumentNormalizer::NormalizeError::StorageFailed;
    if (const auto* storage = std::get_if<StorageFailed>(&error.value))
        refusal.storage = storage->error;
    if (!refusal.isRefusal() || document.length == 0) return refusal;
    const std::filesystem::path savedName = printer_.ticket(arrived.name()).fileName;
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
void JobIntake::report(const ArrivedJob& arrived, const Taken& taken,
                       const Completion& completion) const
{
    environment_.queue->async([self = shared_from_this(), arrived, taken, completion] {
        if (taken) {
            arrived.job->enqueue();
            self->printer_.jobAccepted(*taken, arrived.job);
        } else {
            const IntakeError& error = taken.error();
            arrived.job->abort(error.reason(), error.description);
            if (error.keptAt) self->printer_.documentRefused(*error.keptAt);
        }
        completion(taken);
    });
}

} // namespace korvane
